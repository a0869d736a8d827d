// What a service sends, and what it says of it.

#include "MailBench.hpp"

#include <EventLoop.hpp>

#include <doctest/doctest.h>

#include <set>

using namespace Host;

namespace
{
using State = OutboxMessage::State;
}

TEST_CASE("outbox service: a message that is delivered at once is a success and leaves nothing behind")
{
    MailBench bench;
    bench.open();
    auto message = bench.message("Hello\n");
    bench.attach(message, bench.folder.write("a.txt", "attached"), "a.txt");
    const auto status = bench.send(message);
    CHECK(status.success);
    CHECK(status.error.isEmpty());
    REQUIRE(bench.server.mails().size() == 1);
    const QJsonObject mail = parseMail(bench.server.mails()[0].data);
    CHECK(mail.value("headers").toObject().value("Subject") == "What you collected");
    CHECK(mail.value("headers").toObject().value("From") == "The Small Museum <museum@example.net>");
    CHECK(mail.value("headers").toObject().value("To") == "Ann <ann@example.org>");
    CHECK(partBytes(mail, 0) == "Hello\r\n");
    CHECK(partBytes(mail, 1) == "attached");
    CHECK(bench.kept().empty());
    CHECK(bench.files() == 0);
    CHECK(bench.reports("queued", 0));
}

TEST_CASE("outbox service: a new message has the template as its content, whatever stands in it")
{
    MailBench bench;
    bench.settings.textTemplate = QStringLiteral("Dear visitor\n");
    bench.open();
    const auto message = bench.service->createMessage();
    CHECK(message.content == "Dear visitor\n");
    CHECK(message.recipients().empty());
    CHECK(message.attachments().empty());
}

TEST_CASE("outbox service: a letter keeps the recipient's language, and what was appended to its end")
{
    MailBench bench;
    const QString letter = QStringLiteral("[language en]\nDear <name>\n[end]\n[language fi]\nHei <name>\n[end]\n");
    bench.settings.textTemplate = letter;
    bench.settings.htmlTemplate =
        QStringLiteral("[language en]\n<p>Dear <name></p>\n[end]\n[language fi]\n<p>Hei <name></p>\n[end]\n");
    bench.settings.subject.texts = {{"en", "Your finds"}, {"fi", "Sun aarteet"}};
    bench.open();
    QStringList asked;
    bench.service->setLanguagesOf([&asked](const QString& address) {
        asked << address;
        return QStringList{"sv", "fi", "en"};
    });
    // As it comes: the name filled in everywhere, the links at the end.
    QString filled = letter;
    filled.replace("<name>", "Ann").append("\nhttps://a.example\n\n");
    CHECK(bench.send(bench.message(filled, " ann@example.org ")).success);
    CHECK(asked == QStringList{"ann@example.org"});
    REQUIRE(bench.server.mails().size() == 1);
    const QJsonObject mail = parseMail(bench.server.mails()[0].data);
    CHECK(mail.value("headers").toObject().value("Subject") == "Sun aarteet");
    CHECK(partBytes(mail, 0).replace("\r", "") == "Hei Ann\n\nhttps://a.example\n\n");
    const QByteArray html = partBytes(mail, 1);
    CHECK(html.contains("<p>Hei Ann</p>"));
    CHECK(html.count("Hei Ann") == 1); // the links alone stand at the end
    CHECK_FALSE(html.contains("Dear"));
    CHECK(html.contains("href=\"https://a.example\""));
}

TEST_CASE("outbox service: sending returns before anything is read")
{
    MailBench bench;
    bench.server.holdAt("CONNECT");
    bench.open();
    auto message = bench.message();
    bench.attach(message, bench.folder.write("a.txt", "attached"), "a.txt");
    auto future = bench.service->send(message);
    CHECK_FALSE(future.isReady());
    REQUIRE(bench.reports("sending", 1));
    bench.server.release();
    CHECK(MailBench::outcome(std::move(future)).success);
}

TEST_CASE("outbox service: a message is composed once, and every attempt sends those bytes")
{
    MailBench bench;
    bench.server.answer("MAIL", "451 Come back");
    bench.open();
    auto message = bench.message();
    bench.attach(message, bench.folder.write("a.txt", "attached"), "a.txt");
    expectDelay(1, "451 Come back", "60");
    CHECK(bench.send(message).success);
    const auto kept = bench.kept();
    REQUIRE(kept.size() == 1);
    QFile file(bench.outboxPath() + "/files/" + kept[0].file);
    REQUIRE(file.open(QIODevice::ReadOnly));
    const QByteArray composed = file.readAll();
    CHECK(bench.files() == 1);
    CHECK((QFileInfo(file).permissions() & (QFile::ReadGroup | QFile::ReadOther)) == 0);

    // Refused at the very end: the server has all of it, and gets all of it once more.
    bench.server.forgive();
    bench.server.answer("BODY", "451 Come back");
    expectDelay(1, "451 Come back", "120");
    const qint64 before = bench.server.dataBytes();
    bench.pass(60.0);
    REQUIRE(TestSupport::pumpUntil([&] { return bench.kept().at(0).attempts == 2; }, 20000));
    CHECK(bench.server.dataBytes() - before >= composed.size());
    bench.server.forgive();
    bench.settings.subject = QStringLiteral("Another subject, another day");
    bench.open();
    bench.pass(120.0);
    REQUIRE(bench.hasMails(1));
    const bool isSame = bench.server.mails()[0].data == composed;
    CHECK(isSame);
    CHECK(composed.contains("\r\nMessage-ID: " + kept[0].messageId.toLatin1() + "\r\n"));
    CHECK(bench.becomesEmpty());
}

TEST_CASE("outbox service: a refusal for good is a failure in the server's words, and the message is kept as failed")
{
    for (const char* step : {"CONNECT", "MAIL", "RCPT", "DATA", "BODY"}) {
        INFO("step: " << std::string(step));
        MailBench bench;
        bench.server.answer(step, "550 5.1.1 No such user");
        bench.open();
        expectRefusal(1, "550 5.1.1 No such user");
        const auto status = bench.send(bench.message());
        CHECK_FALSE(status.success);
        CHECK(status.error == "550 5.1.1 No such user");
        REQUIRE(bench.kept().size() == 1);
        CHECK(bench.kept()[0].state == State::Failed);
        CHECK(bench.reports("failed", 1));
        bench.close();
    }
}

TEST_CASE("outbox service: many messages at once all arrive, each once")
{
    MailBench bench;
    bench.open();
    std::vector<folly::Future<MailBench::Status>> futures;
    for (int i = 0; i < 30; ++i)
        futures.push_back(
            bench.service->send(bench.message(QStringLiteral("message %1\n").arg(i), QStringLiteral("v%1@example.org").arg(i))));
    for (auto& future : futures)
        CHECK(MailBench::outcome(std::move(future)).success);
    std::set<QByteArray> recipients;
    for (const auto& mail : bench.server.mails())
        recipients.insert(mail.recipients.at(0));
    CHECK(bench.server.mails().size() == 30);
    CHECK(recipients.size() == 30);
    CHECK(bench.kept().empty());
}

TEST_CASE("outbox service: a message whose sender is gone is delivered all the same")
{
    MailBench bench;
    bench.server.holdAt("MAIL");
    bench.open();
    {
        auto message = bench.message("Hello\n");
        bench.attach(message, bench.folder.write("a.txt", "attached"), "a.txt");
        static_cast<void>(bench.service->send(message));
    }
    bench.server.release();
    REQUIRE(bench.hasMails(1));
    CHECK(partBytes(parseMail(bench.server.mails()[0].data), 1) == "attached");
}

TEST_CASE("outbox service: what other programs do to the queue takes effect while the table runs")
{
    MailBench bench;
    bench.server.answer("RCPT", "550 unknown");
    bench.open();
    expectRefusal(1, "550 unknown");
    expectRefusal(2, "550 unknown");
    CHECK_FALSE(bench.send(bench.message()).success);
    CHECK_FALSE(bench.send(bench.message()).success);
    bench.server.forgive();
    QString error;
    const auto other = Outbox::open(bench.outboxPath(), error);
    REQUIRE(other);
    CHECK(other->drop(1));
    CHECK(other->retry(2, bench.nowMs));
    REQUIRE(bench.hasMails(1)); // without being woken
    CHECK(bench.becomesEmpty());
    CHECK(bench.reports("failed", 0));
}
