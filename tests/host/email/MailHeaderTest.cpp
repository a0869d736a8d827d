#include "services/email/MailHeader.hpp"

#include <doctest/doctest.h>

#include <QDateTime>

using namespace Host;

TEST_CASE("mail header: a mailbox has one @, a domain, and no letter that could end it")
{
    for (const char* good : {"ann@example.org", "a.b+c@example.co.uk", "ann@localhost", "o'neil@example.org",
                             "p\u00e4ivi@example.fi", "ann@m\u00fcnchen.example"}) {
        INFO("good: " << std::string(good));
        CHECK(MailHeader::isMailAddress(QString::fromUtf8(good)));
    }
    for (const char* bad : {"",
                            "ann",
                            "@example.org",
                            "ann@",
                            "ann@@example.org",
                            "a b@example.org",
                            "ann@exam ple.org",
                            "<ann@example.org>",
                            "ann@example.org\r\nBcc: bob@example.org",
                            "ann@example.org\n",
                            "ann@.example.org",
                            "ann@example.org.",
                            "ann@-example.org",
                            "ann@example..org",
                            "ann@example.org,bob@example.org",
                            "\"ann\"@example.org",
                            ".ann@example.org",
                            "ann.@example.org",
                            "ann@example.org>",
                            "a\u200b@example.org"}) {
        INFO("bad: " << std::string(bad));
        CHECK_FALSE(MailHeader::isMailAddress(QString::fromUtf8(bad)));
    }
    CHECK_FALSE(MailHeader::isMailAddress(QString(65, 'a') + "@example.org"));
}

TEST_CASE("mail header: a domain of other letters is written in those that servers know")
{
    CHECK(MailHeader::plainAddress(QString::fromUtf8("ann@m\u00fcnchen.example")) == "ann@xn--mnchen-3ya.example");
    CHECK(MailHeader::plainAddress("ann@example.org") == "ann@example.org");
}

TEST_CASE("mail header: line ends and control characters become one blank")
{
    CHECK(MailHeader::oneLine("a\r\nBcc: b") == "a Bcc: b");
    CHECK(MailHeader::oneLine("\n\ta\u2028\u2029b\x7f\x01") == "a b");
    CHECK(MailHeader::oneLine(QStringLiteral("a") + QChar(0) + "b") == "a b");
    CHECK(MailHeader::oneLine("plain") == "plain");
    CHECK(MailHeader::oneLine("\r\n") == "");
}

TEST_CASE("mail header: a short subject in plain letters stands as it is, any other is encoded in short words")
{
    CHECK(MailHeader::text("What you collected") == "What you collected");
    CHECK(MailHeader::text(QString::fromUtf8("Sch\u00f6n")) == "=?UTF-8?B?U2Now7Zu?=");
    CHECK(MailHeader::text("=?UTF-8?B?AAAA?=").startsWith("=?UTF-8?B?PT9"));
    const QByteArray longOne = MailHeader::text(QString(100, QChar(0x4e2d)));
    for (const QByteArray& line : longOne.split('\n'))
        CHECK(line.trimmed().size() <= 75);
    CHECK(longOne.count("\r\n ") == longOne.count('\n'));
}

TEST_CASE("mail header: an encoded word never ends within a character")
{
    // Characters of four bytes: 45 bytes hold eleven of them.
    const QByteArray words = MailHeader::text(QString::fromUtf8("\xF0\x9F\x8F\x9B").repeated(30));
    QByteArray decoded;
    for (QByteArray word : words.split('\n')) {
        word = word.trimmed().mid(10).chopped(2);
        const QByteArray bytes = QByteArray::fromBase64(word);
        CHECK(bytes.size() % 4 == 0);
        decoded += bytes;
    }
    CHECK(decoded == QByteArray("\xF0\x9F\x8F\x9B").repeated(30));
}

TEST_CASE("mail header: a name is quoted, and quotes in it are escaped")
{
    CHECK(MailHeader::mailbox({"ann@example.org", ""}) == "ann@example.org");
    CHECK(MailHeader::mailbox({"ann@example.org", "Ann \"A\" \\ B"}) == "\"Ann \\\"A\\\" \\\\ B\"\r\n <ann@example.org>");
    CHECK(MailHeader::mailbox({"ann@example.org", "x\r\nBcc: eve@example.org"})
          == "\"x Bcc: eve@example.org\"\r\n <ann@example.org>");
    CHECK(MailHeader::mailbox({"ann@example.org", QString::fromUtf8("P\u00e4ivi")})
          == "=?UTF-8?B?UMOkaXZp?=\r\n <ann@example.org>");
}

TEST_CASE("mail header: a parameter of many letters is written in numbered pieces")
{
    CHECK(MailHeader::parameter("filename", "a \"b\".txt") == ";\r\n filename=\"a \\\"b\\\".txt\"");
    CHECK(MailHeader::parameter("filename", QString::fromUtf8("\u00e4.txt")) == ";\r\n filename*0*=UTF-8''%C3%A4.txt");
    const QByteArray pieces = MailHeader::parameter("filename", QString(300, 'x'));
    CHECK(pieces.count("filename*") == 15);
    for (const QByteArray& line : pieces.split('\n'))
        CHECK(line.size() < 100);
}

TEST_CASE("mail header: a date is in the one form that is understood everywhere")
{
    CHECK(MailHeader::date(QDateTime(QDate(2026, 11, 3), QTime(7, 5, 9), Qt::UTC)) == "Tue, 03 Nov 2026 07:05:09 +0000");
}

TEST_CASE("mail header: what is no type is sent as bytes")
{
    CHECK(MailHeader::mimeType("image/png") == "image/png");
    CHECK(MailHeader::mimeType("") == "application/octet-stream");
    CHECK(MailHeader::mimeType("image/png\r\nX: y") == "application/octet-stream");
    CHECK(MailHeader::mimeType("image/png\n") == "application/octet-stream");
}
