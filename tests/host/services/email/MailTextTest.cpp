#include "services/email/MailText.hpp"

#include <doctest/doctest.h>

using namespace Host;

TEST_CASE("mail text: a domain of other letters is written in ASCII")
{
    CHECK(MailText::plainAddress(QString::fromUtf8("ann@m\u00fcnchen.example")) == "ann@xn--mnchen-3ya.example");
    CHECK(MailText::plainAddress("ann@example.org") == "ann@example.org");
}

TEST_CASE("mail text: line ends and control characters become one blank")
{
    const struct
    {
        QString text;
        const char* line;
    } rows[] = {
        {"a\r\nBcc: b", "a Bcc: b"},
        {"\n\ta\u2028\u2029b\x7f\x01", "a b"},
        {QStringLiteral("a") + QChar(0) + "b", "a b"},
        {QStringLiteral("a") + QChar(0x85) + "b", "a b"},
        {"plain", "plain"},
        {"\r\n", ""},
    };
    for (const auto& row : rows) {
        INFO("line: " << std::string(row.line));
        CHECK(MailText::oneLine(row.text) == row.line);
    }
}
