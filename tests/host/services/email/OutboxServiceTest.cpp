#include "MailBench.hpp"

#include <EventLoop.hpp>
#include <LogCapture.hpp>
#include <SqliteFault.hpp>

#include <doctest/doctest.h>

#include <QElapsedTimer>
#include <QJsonArray>

#include <algorithm>
#include <atomic>
#include <future>
#include <set>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Host;

namespace
{
using State = OutboxMessage::State;

void expectDelay(int id, const char* words, const char* pause)
{
    TestSupport::expectWarning("OutboxService # Message " + std::to_string(id) + " to ann@example.org is not delivered yet ("
                               + words + "); the next attempt is in " + pause + " s");
}

void expectRefusal(int id, const std::string& words)
{
    TestSupport::expectWarning("OutboxService # Message " + std::to_string(id) + " to ann@example.org was refused (" + words
                               + "); it stays in the outbox as failed");
}
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

TEST_CASE("outbox service: after a passing failure the message is safe, and comes when the server does")
{
    MailBench bench;
    bench.server.answer("MAIL", "451 Come back");
    bench.open();
    auto message = bench.message();
    const QString path = bench.folder.write("a.txt", "attached");
    bench.attach(message, path, "a.txt");
    expectDelay(1, "451 Come back", "60");
    CHECK(bench.send(message).success);
    const auto kept = bench.kept();
    REQUIRE(kept.size() == 1);
    CHECK(kept[0].state == State::Queued);
    CHECK(kept[0].lastError == "451 Come back");
    CHECK(kept[0].nextAttemptMs == bench.nowMs + 60000);
    const QJsonObject state = bench.service->state();
    CHECK(state.value("queued") == 1);
    CHECK(state.value("oldest") == "2026-09-21T14:13:20Z");
    CHECK(state.value("lastError") == "451 Come back");
    CHECK(state.value("lastErrorAt") == "2026-09-21T14:13:20Z");

    // The visitor's file may go now.
    REQUIRE(QFile::remove(path));
    bench.server.forgive();
    bench.pass(59.9);
    bench.pass(0.2);
    REQUIRE(bench.hasMails(1));
    CHECK(partBytes(parseMail(bench.server.mails()[0].data), 1) == "attached");
    CHECK(bench.becomesEmpty());
    CHECK(bench.reports("sending", 0));
    CHECK(bench.server.connections() == 2);
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

TEST_CASE("outbox service: each further attempt waits twice as long, up to an hour")
{
    MailBench bench;
    bench.settings.retrySeconds = 1000.0;
    bench.server.answer("DATA", "450 busy");
    bench.open();
    expectDelay(1, "450 busy", "1000");
    CHECK(bench.send(bench.message()).success);
    double pause = 1000.0;
    for (const char* next : {"2000", "3600", "3600"}) {
        expectDelay(1, "450 busy", next);
        const int before = bench.server.connections();
        bench.pass(pause);
        REQUIRE(TestSupport::pumpUntil([&] { return bench.server.connections() > before; }, 20000));
        REQUIRE(bench.reports("queued", 1));
        pause = QString::fromLatin1(next).toDouble();
    }
}

TEST_CASE("outbox service: a message that is never taken is given up in the end, and kept as failed")
{
    MailBench bench;
    bench.settings.giveUpHours = 1.0;
    bench.server.answer("DATA", "450 busy");
    bench.open();
    expectDelay(1, "450 busy", "60");
    CHECK(bench.send(bench.message()).success);
    TestSupport::expectWarning(
        "OutboxService # Message 1 to ann@example.org is given up after 1 hours (450 busy); it stays in the outbox "
        "as failed");
    bench.pass(3600.0);
    REQUIRE(bench.reports("failed", 1));
    CHECK(bench.kept()[0].state == State::Failed);
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

TEST_CASE("outbox service: a passing failure at any step loses nothing")
{
    for (const char* step : {"CONNECT", "EHLO", "MAIL", "RCPT", "DATA", "BODY"}) {
        for (const char* fault : {"4xx", "close", "silence"}) {
            INFO("step: " << std::string(step));
            INFO("fault: " << std::string(fault));
            MailBench bench;
            if (QByteArray(fault) == "4xx") {
                bench.server.answer(step, "450 busy");
                bench.server.answer("HELO", "450 busy");
            } else if (QByteArray(fault) == "close") {
                bench.server.closeAt(step);
            } else {
                bench.settings.timeoutSeconds = 0.2;
                bench.server.fallSilentAt(step);
            }
            bench.open();
            TestSupport::expectWarningStartingWith("OutboxService # Message 1 to ann@example.org is not delivered yet (");
            auto message = bench.message(QString(2'000'000, 'x'));
            CHECK(bench.send(message).success);
            CHECK(bench.server.mails().empty());
            const auto kept = bench.kept();
            REQUIRE(kept.size() == 1);
            CHECK(kept[0].state == State::Queued);
            bench.settings.timeoutSeconds = 20.0;
            bench.open();
            bench.server.forgive();
            bench.pass(60.0);
            REQUIRE(bench.hasMails(1));
            CHECK(bench.server.mails()[0].data.contains("Message-ID: " + kept[0].messageId.toLatin1() + "\r\n"));
            CHECK(bench.becomesEmpty());
        }
    }
}

TEST_CASE("outbox service: a wrong certificate keeps the message until it is right")
{
    const Folder folder;
    const TestCertificate own(folder);
    const TestSupport::SmtpTestServer server(TestSupport::SmtpTestServer::Encryption::StartTls, own.certificate, own.key);
    MailBench bench;
    bench.settings.server = server.address();
    bench.settings.startTls = MailSettings::StartTls::Required;
    bench.open();
    const std::string words = "the certificate of the mail server " + server.address().toStdString() + " is not to be trusted";
    expectDelay(1, words.c_str(), "60");
    CHECK(bench.send(bench.message()).success);
    CHECK(server.mails().empty());
    bench.settings.caFile = own.certificate;
    bench.open();
    bench.pass(60.0);
    CHECK(TestSupport::pumpUntil([&] { return server.mails().size() == 1; }, 20000));
}

TEST_CASE("outbox service: an invalid address is refused at once, and nothing is kept")
{
    for (const char* address :
         {"", "ann", "ann@example.org\r\nRCPT TO:<eve@example.org>", "ann@example.org>", "<ann@example.org>"}) {
        INFO("address: " << std::string(address));
        MailBench bench;
        bench.open();
        TestSupport::expectWarningStartingWith("OutboxService # Failed to accept a message (");
        const auto status = bench.send(bench.message("Hello\n", address));
        CHECK_FALSE(status.success);
        CHECK(status.error.endsWith(" is no e-mail address"));
        CHECK(bench.kept().empty());
        CHECK(bench.server.connections() == 0);
    }
    MailBench bench;
    bench.open();
    TestSupport::expectWarning("OutboxService # Failed to accept a message (the message has no recipient)");
    const auto status = bench.send(bench.service->createMessage());
    CHECK_FALSE(status.success);
    CHECK(status.error == "the message has no recipient");
}

TEST_CASE("outbox service: an attachment that cannot be read costs that attachment, and the body says so")
{
    MailBench bench;
    bench.open();
    auto message = bench.message("Hello\n");
    const QString path = bench.folder.path("pipe");
    REQUIRE(::mkfifo(QFile::encodeName(path).constData(), 0600) == 0);
    auto pipe = std::make_unique<QFile>();
    REQUIRE(pipe->open(::open(QFile::encodeName(path).constData(), O_RDWR | O_NONBLOCK), QIODevice::ReadOnly,
                       QFileDevice::AutoCloseHandle));
    message.addAttachment("pipe\r\nX: y", std::move(pipe), "application/octet-stream");
    auto directory = std::make_unique<QFile>();
    REQUIRE(directory->open(::open(QFile::encodeName(bench.folder.path()).constData(), O_RDONLY), QIODevice::ReadOnly,
                            QFileDevice::AutoCloseHandle));
    message.addAttachment("directory", std::move(directory), "application/octet-stream");
    bench.attach(message, bench.folder.write("a.txt", "attached"), "a.txt");
    bench.attach(message, bench.folder.write("empty", ""), "empty");
    TestSupport::expectWarning(
        "MessageIntake # Failed to read the attachment pipe X: y (it is no ordinary file); the message goes without it");
    TestSupport::expectWarning(
        "MessageIntake # Failed to read the attachment directory (it is no ordinary file); the message goes without it");
    CHECK(bench.send(message).success);
    const QJsonObject mail = parseMail(bench.server.mails()[0].data);
    CHECK(partBytes(mail, 0) == "Hello\r\n\r\nMissing:\r\npipe X: y\r\ndirectory\r\n");
    REQUIRE(mail.value("parts").toArray().size() == 3);
    CHECK(part(mail, 1).value("filename") == "a.txt");
    CHECK(partBytes(mail, 1) == "attached");
    CHECK(part(mail, 2).value("filename") == "empty");
    CHECK(partBytes(mail, 2) == "");
}

TEST_CASE("outbox service: files beyond the limit become links, and the body says so")
{
    MailBench bench;
    bench.settings.attachmentLimitBytes = 1000;
    bench.settings.folder = bench.folder.path();
    bench.settings.filesAddress = QStringLiteral("https://museum.example/files/");
    bench.settings.textTemplate = QStringLiteral("<links>");
    bench.settings.htmlTemplate = QStringLiteral("<body><links></body>");
    bench.open();
    auto message = bench.message("\n");
    bench.attach(message, bench.folder.write("a.bin", QByteArray(600, 'a')), "a.bin");
    bench.attach(message, bench.folder.write("media/b & c.bin", QByteArray(500, 'b')), "b & c.bin");
    bench.attach(message, bench.folder.write("c.bin", QByteArray(400, 'c')), "c.bin");
    bench.attach(message, bench.folder.write("d.bin", "d"), "d.bin");
    bench.attach(message, bench.folder.write("e.bin", ""), "e.bin");
    CHECK(bench.send(message).success);
    const QJsonObject mail = parseMail(bench.server.mails()[0].data);
    CHECK(partBytes(mail, 0).toStdString()
          == "\r\n\r\nToo large:\r\nhttps://museum.example/files/media/b%20%26%20c.bin (0.0 "
             "MB)\r\nhttps://museum.example/files/d.bin (0.0 "
             "MB)\r\n");
    CHECK(partBytes(mail, 1).contains("<a href=\"https://museum.example/files/media/b%20%26%20c.bin\">"));
    REQUIRE(mail.value("parts").toArray().size() == 5);
    CHECK(part(mail, 2).value("filename") == "a.bin");
    CHECK(part(mail, 3).value("filename") == "c.bin");
    CHECK(part(mail, 4).value("filename") == "e.bin");
}

TEST_CASE("outbox service: a slow message does not keep the next one waiting")
{
    MailBench bench;
    bench.server.holdAt("RCPT slow@example.org");
    bench.open();
    auto slow = bench.service->send(bench.message("a\n", "slow@example.org"));
    REQUIRE(TestSupport::pumpUntil([&] { return bench.server.held() == 1; }));
    CHECK(bench.send(bench.message("b\n")).success);
    CHECK_FALSE(slow.isReady());
    bench.server.release();
    CHECK(MailBench::outcome(std::move(slow)).success);
}

TEST_CASE("outbox service: with a silent server every message is on the disk at once, and its files are closed")
{
    MailBench bench;
    bench.settings.timeoutSeconds = 300.0;
    bench.server.fallSilentAt("MAIL");
    bench.open();
    std::vector<folly::Future<MailBench::Status>> futures;
    std::vector<std::weak_ptr<QIODevice>> devices;
    for (int i = 0; i < 8; ++i) {
        auto message = bench.message(QStringLiteral("message %1\n").arg(i));
        bench.attach(message, bench.folder.write("a.txt", "attached"), "a.txt");
        devices.push_back(message.attachments().front().device);
        futures.push_back(bench.service->send(message));
    }
    CHECK(TestSupport::pumpUntil([&] { return bench.kept().size() == 8; }, 20000));
    CHECK(TestSupport::pumpUntil(
        [&] { return std::all_of(devices.begin(), devices.end(), [](const auto& device) { return device.expired(); }); }, 20000));
    for (const auto& future : futures)
        CHECK_FALSE(future.isReady()); // attempts are under way
    CHECK(bench.server.mails().empty());
}

TEST_CASE("outbox service: with a silent server every answer comes at its deadline, and every message when the server does")
{
    MailBench bench;
    bench.settings.answerSeconds = 0.2;
    bench.server.holdAt("MAIL");
    bench.open();
    std::vector<folly::Future<MailBench::Status>> futures;
    for (int i = 0; i < 6; ++i)
        futures.push_back(bench.service->send(bench.message(QStringLiteral("message %1\n").arg(i))));
    for (auto& future : futures) {
        const auto status = MailBench::outcome(std::move(future));
        CHECK(status.success);
        CHECK(status.error.isEmpty());
    }
    // The server has said nothing all the while, and the attempts have not ended.
    CHECK(bench.server.mails().empty());
    CHECK(bench.kept().size() == 6);
    bench.server.release();
    REQUIRE(bench.hasMails(6));
    CHECK(bench.becomesEmpty());
}

TEST_CASE("outbox service: a message that takes long to compose keeps no answer waiting")
{
    /// Gives its bytes when the test says so.
    class SlowDevice final : public QIODevice
    {
    public:
        SlowDevice(std::atomic<bool>& reading, std::shared_future<void> released)
            : m_reading(reading), m_released(std::move(released))
        {
            open(QIODevice::ReadOnly | QIODevice::Unbuffered);
        }
        bool isSequential() const override { return false; }

    protected:
        qint64 readData(char*, qint64) override
        {
            m_reading = true;
            m_released.wait();
            return 0;
        }
        qint64 writeData(const char*, qint64) override { return -1; }

    private:
        std::atomic<bool>& m_reading;
        std::shared_future<void> m_released;
    };
    std::promise<void> release;
    std::atomic<bool> isReading{false};
    MailBench bench;
    bench.settings.answerSeconds = 0.3;
    bench.server.holdAt("MAIL");
    bench.open();
    std::vector<folly::Future<MailBench::Status>> futures;
    for (int i = 0; i < 3; ++i)
        futures.push_back(bench.service->send(bench.message()));
    auto slow = bench.message();
    slow.addAttachment("slow", std::make_unique<SlowDevice>(isReading, release.get_future().share()), "text/plain");
    auto slowest = bench.service->send(slow);
    REQUIRE(TestSupport::pumpUntil([&] { return isReading.load(); }, 20000));
    // Every sender is held by the server, and the thread that composes by the device.
    for (auto& future : futures)
        CHECK(MailBench::outcome(std::move(future)).success);
    CHECK(bench.server.mails().empty());
    CHECK_FALSE(slowest.isReady());
    release.set_value();
    CHECK(MailBench::outcome(std::move(slowest)).success);
    bench.server.release();
    REQUIRE(bench.hasMails(4));
    CHECK(bench.becomesEmpty());
}

TEST_CASE("outbox service: a service has two threads of its own")
{
    const auto threads = [] { return QDir("/proc/self/task").entryList(QDir::Dirs | QDir::NoDotAndDotDot).size(); };
    MailBench bench;
    bench.open();
    // Composed, and sent to no server, whose threads would be counted.
    TestSupport::expectWarningStartingWith("OutboxService # Failed to accept a message (");
    REQUIRE_FALSE(bench.send(bench.message("Hello\n", "ann")).success);
    const int before = threads();
    bench.close();
    CHECK(before - threads() == 2);
}

TEST_CASE("outbox service: attempts that hang on old messages do not keep new ones waiting")
{
    MailBench bench;
    bench.settings.timeoutSeconds = 300.0;
    bench.server.answer("MAIL", "451 Come back");
    bench.open();
    for (int i = 1; i <= 3; ++i) {
        expectDelay(i, "451 Come back", "60");
        CHECK(bench.send(bench.message()).success);
    }
    bench.server.forgive();
    bench.server.holdAt("RCPT ann@example.org");
    bench.pass(60.0);
    REQUIRE(TestSupport::pumpUntil([&] { return bench.server.held() > 0; }, 20000));
    // A thread that has delivered one message claims the next; none of those for new messages may claim an old one.
    for (std::size_t i = 1; i <= 6; ++i) {
        REQUIRE(bench.send(bench.message("Hello\n", "bob@example.org")).success);
        CHECK(bench.server.mails().size() == i);
    }
    CHECK(bench.server.held() == 1);
    bench.server.release();
    REQUIRE(bench.hasMails(9));
    CHECK(bench.becomesEmpty());
}

TEST_CASE("outbox service: on a full disk the queue is read every two seconds, and goes on when there is room")
{
    MailBench bench;
    bench.server.answer("MAIL", "451 Come back");
    bench.open();
    expectDelay(1, "451 Come back", "60");
    CHECK(bench.send(bench.message()).success);
    bench.server.forgive();
    auto fault = TestSupport::SqliteFault::fullDisk(bench.databasePath(), "UPDATE", "messages");
    const std::string warning =
        "Outbox # Failed to take a message from " + bench.databasePath().toStdString() + " (database or disk is full";
    TestSupport::expectWarningStartingWith(warning);
    bench.pass(60.0);
    REQUIRE(MailBench::logs(warning));
    // Each reading and each claim asks for the time. More than one round's worth of them takes a pause at least.
    QElapsedTimer timer;
    timer.start();
    const int before = bench.timesAsked;
    REQUIRE(TestSupport::pumpUntil([&] { return bench.timesAsked > before + 2; }, 30000));
    CHECK(timer.elapsed() >= 1500);
    CHECK(bench.server.mails().empty());
    fault.mend();
    REQUIRE(bench.hasMails(1)); // without being woken
    CHECK(bench.becomesEmpty());
}

TEST_CASE("outbox service: a delivery that cannot be noted is noted when there is room, and the message came once")
{
    MailBench bench;
    bench.server.holdAt("BODY");
    bench.open();
    auto future = bench.service->send(bench.message());
    REQUIRE(TestSupport::pumpUntil([&] { return bench.server.held() == 1; }, 20000));
    auto fault = TestSupport::SqliteFault::fullDisk(bench.databasePath(), "DELETE", "messages");
    TestSupport::expectWarningStartingWith("Outbox # Failed to write " + bench.databasePath().toStdString()
                                           + " (database or disk is full");
    TestSupport::expectWarningStartingWith(
        "OutboxService # Failed to write what became of message 1 to ann@example.org (it is delivered)");
    bench.server.release();
    CHECK(MailBench::outcome(std::move(future)).success);
    CHECK(bench.kept().size() == 1);
    fault.mend();
    CHECK(bench.becomesEmpty()); // without being woken
    CHECK(bench.server.mails().size() == 1);
    bench.open();
    CHECK(bench.send(bench.message()).success);
    CHECK(bench.server.mails().size() == 2);
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

TEST_CASE("outbox service: closing the table completes every answer and keeps what was not delivered")
{
    MailBench bench;
    bench.server.fallSilentAt("MAIL");
    bench.open();
    std::vector<folly::Future<MailBench::Status>> futures;
    for (int i = 0; i < 5; ++i) {
        auto message = bench.message(QStringLiteral("message %1\n").arg(i));
        bench.attach(message, bench.folder.write("a.txt", "attached"), "a.txt");
        futures.push_back(bench.service->send(message));
    }
    REQUIRE(TestSupport::pumpUntil([&] { return bench.server.connections() >= 1; }));
    bench.close();
    for (auto& future : futures) {
        REQUIRE(future.isReady());
        CHECK(future.value().success);
    }
    const auto kept = bench.kept();
    REQUIRE(kept.size() == 5);
    for (const OutboxMessage& message : kept)
        CHECK(message.state == State::Queued);
    bench.server.forgive();
    bench.open();
    REQUIRE(bench.hasMails(5));
    CHECK(bench.becomesEmpty());
    CHECK(bench.server.mails().size() == 5);
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

TEST_CASE("outbox service: a second table keeps off the outbox of the first")
{
    MailBench bench;
    bench.open();
    QString error;
    CHECK(OutboxService::open(bench.settings, bench.outboxPath(), error) == nullptr);
    CHECK(error == "the outbox in " + bench.outboxPath() + " is in use by another table");
}

TEST_CASE("outbox service: with a login that cannot be read, or would cross a network unencrypted, the table does not open")
{
    using StartTls = MailSettings::StartTls;
    MailBench bench;
    const QString login = bench.folder.write("login", "user\nt0p-s3cret\n");
    QFile::setPermissions(login, QFile::ReadOwner);
    const QString none = bench.folder.path("none");
    const QString remote = QStringLiteral("smtp://mail.example.org:587");
    const struct
    {
        QString server;
        StartTls startTls;
        QString credentials;
        std::string error; ///< its beginning; empty where the table opens
    } rows[] = {
        {bench.settings.server, StartTls::Never, none, "cannot read " + none.toStdString()},
        {remote, StartTls::Never, login,
         "\"startTls\": \"never\" would send the password to the mail server smtp://mail.example.org:587 unencrypted; set it to "
         "\"required\", or leave out the credentials (the file, or TAVOLA_SMTP_USER)"},
        {remote, StartTls::IfOffered, login, ""},
        {remote, StartTls::Never, QString(), ""},
    };
    for (const auto& row : rows) {
        CAPTURE(row.error);
        bench.settings.server = row.server;
        bench.settings.startTls = row.startTls;
        bench.settings.credentialsFile = row.credentials;
        QString error;
        const bool isOpen = OutboxService::open(bench.settings, bench.outboxPath(), error) != nullptr;
        CHECK(isOpen == row.error.empty());
        CHECK(error.toStdString().substr(0, row.error.size()) == row.error);
        CHECK(QFileInfo::exists(bench.outboxPath()) == isOpen);
        QDir(bench.outboxPath()).removeRecursively();
    }
}

TEST_CASE("outbox service: a password never reaches the log, whatever happens")
{
    MailBench bench;
    const QString file = bench.folder.write("login", "user\nt0p-s3cret\n");
    QFile::setPermissions(file, QFile::ReadOwner);
    bench.settings.credentialsFile = file;
    bench.server.answer("AUTH", "535 5.7.8 Wrong");
    bench.open();
    expectRefusal(1, "535 5.7.8 Wrong");
    CHECK_FALSE(bench.send(bench.message()).success);
    bench.server.closeAt("AUTH");
    TestSupport::expectWarningStartingWith("OutboxService # Message 2 to ann@example.org is not delivered yet (");
    CHECK(bench.send(bench.message()).success);
    bench.close();
    const std::string encoded = QByteArray("\0user\0t0p-s3cret", 16).toBase64().toStdString();
    for (const auto& line : TestSupport::loggedLines()) {
        CHECK(line.text.find("t0p-s3cret") == std::string::npos);
        CHECK(line.text.find(encoded) == std::string::npos);
    }
}

TEST_CASE("outbox service: when the disk cannot keep a message, the visitor is told and keeps the items")
{
    MailBench bench;
    bench.open();
    // Something else stands where the finished message would go.
    REQUIRE(QDir(bench.outboxPath() + "/files").removeRecursively());
    bench.folder.write("outbox/files", "in the way");
    auto message = bench.message();
    bench.attach(message, bench.folder.write("a.txt", "attached"), "a.txt");
    TestSupport::expectWarning("OutboxService # Failed to accept a message (the message cannot be kept (Not a directory))");
    const auto status = bench.send(message);
    CHECK_FALSE(status.success);
    CHECK(status.error == "the message cannot be kept (Not a directory)");
    REQUIRE(QFile::remove(bench.outboxPath() + "/files"));
    CHECK(bench.kept().empty());
}

TEST_CASE("outbox service: when the outbox cannot take a message, its sender is told at once, and nothing is left behind")
{
    MailBench bench;
    bench.open();
    const auto fault = TestSupport::SqliteFault::fullDisk(bench.databasePath(), "INSERT", "recipients");
    auto message = bench.message();
    bench.attach(message, bench.folder.write("a.txt", "attached"), "a.txt");
    TestSupport::expectWarningStartingWith("Outbox # Failed to write " + bench.databasePath().toStdString()
                                           + " (database or disk is full");
    TestSupport::expectWarning("OutboxService # Failed to accept a message (the message cannot be kept)");
    const auto status = bench.send(message);
    CHECK_FALSE(status.success);
    CHECK(status.error == "the message cannot be kept");
    CHECK(bench.kept().empty());
    CHECK(bench.files() == 0);
    CHECK(bench.server.connections() == 0);
    CHECK(bench.service->state().value("lastError") == "the message cannot be kept");
}

TEST_CASE("outbox service: a message beyond the limits is refused, and its sender and the operator learn why")
{
    MailBench bench;
    bench.settings.mostMessages = 2;
    bench.settings.retrySeconds = 3600.0;
    bench.server.answer("MAIL", "451 Come back");
    bench.open();
    for (int i = 1; i <= 2; ++i) {
        expectDelay(i, "451 Come back", "3600");
        CHECK(bench.send(bench.message()).success);
    }
    // Once a minute at most.
    TestSupport::expectWarning(
        "OutboxService # Failed to accept a message (the outbox is full: at most 2 messages and 20000 MB; delete some with "
        "\"tavola mail drop\", have the mail server accept the others, or raise \"outboxMessages\" or \"outboxMegabytes\")");
    for (int i = 0; i < 3; ++i) {
        auto message = bench.message();
        bench.attach(message, bench.folder.write("a.txt", "attached"), "a.txt");
        const auto status = bench.send(message);
        CHECK_FALSE(status.success);
        CHECK(status.error == "the outbox is full, so the message was not sent");
    }
    CHECK(bench.kept().size() == 2);
    CHECK(bench.files() == 2);
    const QJsonObject state = bench.service->state();
    CHECK(state.value("lastError") == "the outbox is full, so the message was not sent");
    CHECK(state.value("queued") == 2);
    CHECK(state.value("mostMessages") == 2);
    CHECK(state.value("mostBytes") == 2e10);
    CHECK(state.value("bytes").toInt() > 0);

    // A message that is gone makes room.
    bench.server.forgive();
    bench.pass(3600.0);
    REQUIRE(bench.becomesEmpty());
    CHECK(bench.send(bench.message()).success);
}

TEST_CASE("outbox service: a message too large for what is left of the outbox is refused, and a smaller one is not")
{
    MailBench bench;
    bench.settings.mostBytes = 3000;
    bench.open();
    auto large = bench.message();
    bench.attach(large, bench.folder.write("a.bin", QByteArray(3000, 'a')), "a.bin");
    TestSupport::expectWarningStartingWith("OutboxService # Failed to accept a message (the outbox is full: ");
    CHECK_FALSE(bench.send(large).success);
    CHECK(bench.files() == 0);
    CHECK(bench.send(bench.message()).success);
}

TEST_CASE("outbox service: refused messages are deleted after the days that the settings say, queued ones never")
{
    MailBench bench;
    bench.settings.giveUpHours = 10000.0;
    bench.server.answer("RCPT ann@example.org", "550 unknown");
    bench.server.answer("RCPT bob@example.org", "450 busy");
    bench.open();
    expectRefusal(1, "550 unknown");
    CHECK_FALSE(bench.send(bench.message()).success);
    TestSupport::expectWarningStartingWith("OutboxService # Message 2 to bob@example.org is not delivered yet (450 busy)");
    CHECK(bench.send(bench.message("Hello\n", "bob@example.org")).success);

    // Off by default.
    TestSupport::expectWarningStartingWith("OutboxService # Message 2 to bob@example.org is not delivered yet (450 busy)");
    bench.pass(100.0 * 86400.0);
    REQUIRE(TestSupport::pumpUntil([&] { return bench.kept().at(1).attempts == 2; }, 20000));
    CHECK(bench.kept().at(0).state == State::Failed);

    bench.settings.deleteRefusedDays = 101.0;
    bench.open();
    REQUIRE(bench.reports("failed", 1));
    TestSupport::expectWarningStartingWith("OutboxService # Message 2 to bob@example.org is not delivered yet (450 busy)");
    bench.pass(86400.0 + 1.0);
    REQUIRE(bench.reports("failed", 0));
    REQUIRE(TestSupport::pumpUntil([&] { return bench.kept().at(0).attempts == 3; }, 20000));
    CHECK(bench.kept().size() == 1);
    CHECK(bench.files() == 1);
}
