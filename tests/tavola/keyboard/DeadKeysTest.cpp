#include "keyboard/DeadKeys.hpp"

#include <doctest/doctest.h>

using Tavola::DeadKeys;

namespace
{
QString fromUtf8(const char* utf8)
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
        CHECK(DeadKeys::isAccent(fromUtf8(row.accent)));
        DeadKeys keys;
        CHECK(keys.press(fromUtf8(row.accent)).isEmpty());
        CHECK(keys.isPending());
        CHECK(keys.pending() == fromUtf8(row.accent));
        CHECK(keys.join(fromUtf8(row.text)) == fromUtf8(row.typed));
        CHECK_FALSE(keys.isPending());
        CHECK(keys.join(fromUtf8(row.text)) == fromUtf8(row.text));
    }
    for (const char* other : {"", "a", "'", "´´"})
        CHECK_FALSE(DeadKeys::isAccent(fromUtf8(other)));
}

TEST_CASE("dead keys: an accent pressed twice is typed once, and another one types the first")
{
    DeadKeys keys;
    CHECK(keys.press(fromUtf8("´")).isEmpty());
    CHECK(keys.press(fromUtf8("´")) == fromUtf8("´"));
    CHECK_FALSE(keys.isPending());
    CHECK(keys.press(fromUtf8("´")).isEmpty());
    CHECK(keys.press(fromUtf8("^")) == fromUtf8("´"));
    CHECK(keys.pending() == "^");
    CHECK(keys.release() == "^");
    CHECK_FALSE(keys.isPending());
    CHECK(keys.release().isEmpty());
    CHECK(keys.press(fromUtf8("~")).isEmpty());
    keys.forget();
    CHECK(keys.join(QStringLiteral("n")) == "n");
}
