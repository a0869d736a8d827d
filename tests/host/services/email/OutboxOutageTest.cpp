// A service whose mail server, disk or table fails it.

#include "MailBench.hpp"

#include <EventLoop.hpp>
#include <LogCapture.hpp>
#include <SqliteFault.hpp>

#include <doctest/doctest.h>

#include <QElapsedTimer>

#include <algorithm>
#include <atomic>
#include <future>

using namespace Host;

namespace
{
using State = OutboxMessage::State;
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
    const auto status = bench.send(message);
    CHECK(status.success);
    CHECK(status.error.isEmpty());
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
    CHECK(bench.kept()[0].attempts == 1); // of which another might have followed
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
