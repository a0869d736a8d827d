#include "MailBench.hpp"

#include "services/email/SmtpSender.hpp"

#include <doctest/doctest.h>

#include <QJsonArray>

using namespace Host;

namespace
{
OutboxMessage letter()
{
    OutboxMessage message;
    message.messageId = QStringLiteral("<id-1@example.net>");
    message.createdMs = 1'790'000'000'000;
    message.sender = {"museum@example.net", "The Small Museum"};
    message.subject = QStringLiteral("What you collected");
    message.text = QStringLiteral("Hello\n");
    message.recipients.push_back({{"ann@example.org", "Ann"}, Tavola::EmailMessage::To, OutboxMessage::Outcome::Open, {}});
    return message;
}

/// What a real transfer of the message carries, and the bytes themselves.
QJsonObject sent(OutboxMessage message, QByteArray* bytes = nullptr)
{
    TestSupport::SmtpTestServer server;
    const std::atomic<bool> stop{false};
    REQUIRE(SmtpSender(testSettings(server.address()), {}).send(message, stop).outcome == SmtpSender::Outcome::Delivered);
    const auto mails = server.mails();
    REQUIRE(mails.size() == 1);
    if (bytes)
        *bytes = mails[0].data;
    const QJsonObject mail = parseMail(mails[0].data);
    CHECK(mail.value("defects").toArray().isEmpty());
    CHECK(mail.value("bareLineEnds").toInt() == 0);
    CHECK(mail.value("longestLine").toInt() < 200);
    return mail;
}

QString header(const QJsonObject& mail, const char* name)
{
    return mail.value("headers").toObject().value(QLatin1String(name)).toString();
}
}

TEST_CASE("mime: the header says when, who, to whom and what")
{
    const QJsonObject mail = sent(letter());
    CHECK(header(mail, "Date") == "Mon, 21 Sep 2026 14:13:20 +0000");
    CHECK(header(mail, "Message-ID") == "<id-1@example.net>");
    CHECK(header(mail, "From") == "The Small Museum <museum@example.net>");
    CHECK(header(mail, "To") == "Ann <ann@example.org>");
    CHECK(header(mail, "Subject") == "What you collected");
    CHECK(header(mail, "MIME-Version") + header(mail, "Mime-Version") == "1.0");
    CHECK(mail.value("type") == "multipart/mixed");
    CHECK(part(mail, 0).value("type") == "text/plain");
    CHECK(part(mail, 0).value("charset") == "utf-8");
    CHECK(part(mail, 0).value("encoding") == "base64");
}

TEST_CASE("mime: names, subjects and texts of all the world's letters arrive")
{
    OutboxMessage message = letter();
    const QString name = QString::fromUtf8("P\u00e4ivi \u0141ukasz \u674e\u56db \xF0\x9F\x8F\x9B").repeated(4);
    message.subject = name;
    message.recipients[0].address.name = name;
    message.text = name + "\n";
    const QJsonObject mail = sent(message);
    CHECK(header(mail, "Subject").toStdString() == name.toStdString());
    CHECK(mail.value("to").toString().toStdString() == (name + " <ann@example.org>").toStdString());
    CHECK(partBytes(mail, 0) == name.toUtf8() + "\r\n");
}

TEST_CASE("mime: no line end passes from a name, a subject or a file's name into the header")
{
    const Folder folder;
    OutboxMessage message = letter();
    message.subject = QStringLiteral("Hello\r\nBcc: eve@example.org\r\n\r\nbody");
    message.recipients[0].address.name = QStringLiteral("Ann\nBcc: eve@example.org");
    message.sender.name = QStringLiteral("Museum\rX-Evil: 1");
    message.files.push_back({"a\r\nX-Evil: 1\r\n\r\nb.txt", "text/plain\r\nX-Evil: 1", folder.write("0", "x"), 1});
    QByteArray bytes;
    const QJsonObject mail = sent(message, &bytes);
    CHECK(header(mail, "Bcc").isEmpty());
    CHECK(header(mail, "X-Evil").isEmpty());
    CHECK_FALSE(bytes.contains("\r\nBcc:"));
    CHECK_FALSE(bytes.contains("\r\nX-Evil:"));
    CHECK(header(mail, "Subject") == "Hello Bcc: eve@example.org body");
    CHECK(part(mail, 1).value("filename") == "a X-Evil: 1 b.txt");
    CHECK(part(mail, 1).value("type") == "application/octet-stream");
    CHECK(partBytes(mail, 1) == "x");
}

TEST_CASE("mime: a message with an html part offers both")
{
    OutboxMessage message = letter();
    message.html = QString::fromUtf8("<p>Gr\u00fc\u00dfe</p>\n");
    const QJsonObject mail = sent(message);
    REQUIRE(mail.value("parts").toArray().size() == 2);
    CHECK(part(mail, 0).value("type") == "text/plain");
    CHECK(part(mail, 1).value("type") == "text/html");
    CHECK(partBytes(mail, 1) == QByteArray("<p>Gr\u00fc\u00dfe</p>\r\n"));
    QByteArray bytes;
    sent(message, &bytes);
    CHECK(bytes.contains("Content-Type: multipart/alternative;"));
}

TEST_CASE("mime: files arrive byte for byte, under their names, in base64 with short lines")
{
    const Folder folder;
    QByteArray everyByte;
    for (int i = 0; i < 100000; ++i)
        everyByte += char(i * 7 + i / 256);
    OutboxMessage message = letter();
    const QStringList names{"plain.bin",
                            "empty",
                            "quo\"te\\d; x=\"y\".bin",
                            QString(300, 'n') + ".bin",
                            QString::fromUtf8("\u00e4iti \u674e.bin"),
                            QString(300, QChar(0x674e)),
                            "plain.bin"};
    for (int i = 0; i < names.size(); ++i) {
        const QByteArray bytes = i == 1 ? QByteArray() : everyByte.left(everyByte.size() - i);
        message.files.push_back({names[i], "application/octet-stream", folder.write(QString::number(i), bytes), bytes.size()});
    }
    const QJsonObject mail = sent(message);
    REQUIRE(mail.value("parts").toArray().size() == 1 + names.size());
    for (int i = 0; i < names.size(); ++i) {
        CAPTURE(i);
        const QJsonObject file = part(mail, i + 1);
        CHECK(file.value("filename").toString().toStdString() == names[i].toStdString());
        CHECK(file.value("disposition") == "attachment");
        CHECK(file.value("encoding") == "base64");
        CHECK(file.value("longestLine").toInt() <= 76);
        const bool isSame = partBytes(mail, i + 1) == (i == 1 ? QByteArray() : everyByte.left(everyByte.size() - i));
        CHECK(isSame);
    }
}

TEST_CASE("mime: hidden recipients stay hidden")
{
    OutboxMessage message = letter();
    message.recipients[0].type = Tavola::EmailMessage::Bcc;
    message.recipients.push_back({{"bob@example.org", "Bob"}, Tavola::EmailMessage::Cc, OutboxMessage::Outcome::Open, {}});
    message.recipients.push_back({{"cid@example.org", ""}, Tavola::EmailMessage::Cc, OutboxMessage::Outcome::Open, {}});
    QByteArray bytes;
    const QJsonObject mail = sent(message, &bytes);
    CHECK_FALSE(bytes.contains("ann@example.org"));
    CHECK(header(mail, "Cc") == "Bob <bob@example.org>, cid@example.org");
}
