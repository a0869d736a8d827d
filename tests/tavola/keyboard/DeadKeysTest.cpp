#include "keyboard/DeadKeys.hpp"

#include <doctest/doctest.h>

using Tavola::DeadKeys;

namespace
{
QString u(const char* utf8)
{
    return QString::fromUtf8(utf8);
}
}

TEST_CASE("dead keys: an accent joins the next letter, and what cannot join is typed one after the other")
{
    struct Row
    {
        const char* accent;
        const char* text;
        const char* typed;
    };
    const Row rows[] = {
        {"´", "e", "é"}, {"`", "A", "À"},  {"^", "o", "ô"},  {"¨", "u", "ü"},    {"~", "n", "ñ"},
        {"´", " ", "´"}, {"´", "x", "´x"}, {"~", "1", "~1"}, {"^", "ab", "^ab"},
    };
    for (const Row& row : rows) {
        CAPTURE(row.accent);
        CAPTURE(row.text);
        CHECK(DeadKeys::isAccent(u(row.accent)));
        DeadKeys keys;
        CHECK(keys.press(u(row.accent)).isEmpty());
        CHECK(keys.isPending());
        CHECK(keys.pending() == u(row.accent));
        CHECK(keys.join(u(row.text)) == u(row.typed));
        CHECK_FALSE(keys.isPending());
        CHECK(keys.join(u(row.text)) == u(row.text));
    }
    for (const char* other : {"", "a", "'", "´´"})
        CHECK_FALSE(DeadKeys::isAccent(u(other)));
}

TEST_CASE("dead keys: an accent pressed twice is typed once, and another one types the first")
{
    DeadKeys keys;
    CHECK(keys.press(u("´")).isEmpty());
    CHECK(keys.press(u("´")) == u("´"));
    CHECK_FALSE(keys.isPending());
    CHECK(keys.press(u("´")).isEmpty());
    CHECK(keys.press(u("^")) == u("´"));
    CHECK(keys.pending() == "^");
    CHECK(keys.release() == "^");
    CHECK_FALSE(keys.isPending());
    CHECK(keys.release().isEmpty());
    CHECK(keys.press(u("~")).isEmpty());
    keys.forget();
    CHECK(keys.join(QStringLiteral("n")) == "n");
}
