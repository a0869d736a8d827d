// A service turn by turn, on the test's own thread.

#include "MailBench.hpp"

#include <LogCapture.hpp>
#include <SqliteFault.hpp>

#include <doctest/doctest.h>

#include <QElapsedTimer>

#include <stdexcept>
#include <utility>

using namespace Host;

namespace
{
using State = OutboxMessage::State;
using Status = OutboxService::EmailStatus;
using TestSupport::SqliteFault;

const QByteArray kMail("Subject: x\r\n\r\nHello\r\n");

struct OutboxTurnBench
{
    Folder folder;
    QString error;
    TestSupport::SmtpTestServer server;
    MailSettings settings = testSettings(server.address());
    qint64 nowMs = 1'790'000'000'000;
    std::shared_ptr<Outbox> outbox = Outbox::open(folder.path("outbox"), error);
    std::unique_ptr<OutboxService> delivery;
    int count = 0;
    QString path = folder.path("outbox/outbox.sqlite");
    std::string warning = "Outbox # Failed to write " + path.toStdString() + " (";
    std::string claimWarning = "Outbox # Failed to take a message from " + path.toStdString() + " (";

    OutboxTurnBench() { start(); }
    /// As a program does at its start.
    void start()
    {
        delivery.reset();
        delivery = std::make_unique<OutboxService>(settings, MailCredentials(), outbox, [this] { return nowMs; });
    }
    /// Message 1, 2, ..., with its file.
    OutboxMessage make(State state = State::Queued)
    {
        OutboxMessage message;
        message.messageId = QStringLiteral("<%1@x>").arg(++count);
        message.createdMs = message.queuedSinceMs = nowMs;
        message.state = state;
        message.sender = settings.sender.address;
        message.recipients = {{"ann@example.org", OutboxMessage::Outcome::Open, {}}};
        message.file = Outbox::newFile();
        message.sizeBytes = kMail.size();
        folder.write("outbox/files/" + message.file, kMail);
        return message;
    }
    folly::Future<Status> add()
    {
        OutboxService::Promise promise;
        auto future = promise.getFuture();
        delivery->accept(make(), std::move(promise));
        return future;
    }
    /// Reads the outbox, claims what is due and goes on with attempts, without waiting for anything.
    void read()
    {
        delivery->wake();
        delivery->turn();
    }
    template <typename Condition>
    void readUntil(Condition isReached)
    {
        QElapsedTimer timer;
        timer.start();
        while (!isReached() && timer.elapsed() < 20000)
            read();
        REQUIRE(isReached());
    }
    const Status& outcome(const folly::Future<Status>& future)
    {
        readUntil([&] { return future.isReady(); });
        return future.value();
    }
    [[nodiscard]] OutboxMessage message(qint64 id) const { return messageOf(*outbox, id); }
    [[nodiscard]] int number(const char* key) const { return delivery->state().value(QLatin1String(key)).toInt(); }
};

void expectFullDisk(const std::string& start)
{
    TestSupport::expectWarningStartingWith(start + "database or disk is full");
}
}

TEST_CASE("outbox turn: each message is sent once, its sender answered, and nothing left")
{
    OutboxTurnBench bench;
    const auto first = bench.add();
    const auto second = bench.add();
    CHECK_FALSE(first.isReady());
    CHECK(bench.outcome(first).success);
    CHECK(bench.outcome(second).success);
    CHECK(bench.server.mails().size() == 2);
    CHECK(bench.outbox->messages().value().empty());
    CHECK(QDir(bench.folder.path("outbox/files")).isEmpty());
    bench.read();
    CHECK(bench.server.connections() == 2);
}

TEST_CASE("outbox turn: three messages are sent at a time, and the next one when one of them has ended")
{
    OutboxTurnBench bench;
    bench.server.holdAt("MAIL");
    std::vector<folly::Future<Status>> futures;
    for (int i = 0; i < 5; ++i)
        futures.push_back(bench.add());
    bench.readUntil([&] { return bench.server.held() == 3; });
    bench.read();
    CHECK(bench.number("sending") == 3);
    CHECK(bench.number("queued") == 2);
    CHECK(bench.server.connections() == 3);
    bench.server.release();
    for (const auto& future : futures)
        CHECK(bench.outcome(future).success);
    CHECK(bench.server.mails().size() == 5);
}

TEST_CASE("outbox turn: of messages that were attempted before one is sent at a time")
{
    OutboxTurnBench bench;
    bench.server.answer("MAIL", "451 Come back");
    for (int i = 1; i <= 2; ++i) {
        TestSupport::expectWarningStartingWith("OutboxService # Message " + std::to_string(i));
        CHECK(bench.outcome(bench.add()).success);
    }
    bench.server.forgive();
    bench.server.holdAt("RCPT");
    bench.nowMs += 60000;
    bench.readUntil([&] { return bench.server.held() == 1; });
    const auto young = bench.add();
    bench.readUntil([&] { return bench.server.held() == 2; });
    bench.read();
    CHECK(bench.message(1).state == State::Sending);
    CHECK(bench.message(2).state == State::Queued);
    CHECK(bench.message(3).state == State::Sending);
    bench.server.release();
    CHECK(bench.outcome(young).success);
    bench.readUntil([&] { return bench.server.mails().size() == 3; });
}

TEST_CASE("outbox turn: a message whose recipients cannot be read stays queued, and goes out whole later")
{
    OutboxTurnBench bench;
    const auto future = bench.add();
    auto fault = SqliteFault::lostTable(bench.path, "recipients");
    // The second time says nothing new.
    TestSupport::expectWarningStartingWith(bench.claimWarning + "no such table: recipients");
    bench.read();
    bench.read();
    CHECK(bench.server.connections() == 0);
    fault.mend();
    CHECK(bench.message(1).state == State::Queued);
    CHECK(bench.outcome(future).success);
    CHECK(bench.server.mails().size() == 1);
}

TEST_CASE("outbox turn: a message whose file is lost, or not as long as it was, is kept as failed and not sent")
{
    for (const bool isLost : {true, false}) {
        CAPTURE(isLost);
        OutboxTurnBench bench;
        const auto future = bench.add();
        const QString file = bench.outbox->path(bench.message(1).file);
        REQUIRE((isLost ? QFile::remove(file) : QFile::resize(file, kMail.size() - 1)));
        expectRefusal(1, "the outbox has lost the message's file");
        CHECK(bench.outcome(future).error == "the outbox has lost the message's file");
        CHECK(bench.message(1).state == State::Failed);
        CHECK(bench.message(1).nextAttemptMs == bench.nowMs); // when it failed
        CHECK(bench.server.connections() == 0);
    }
}

TEST_CASE("outbox turn: every attempt sends the same bytes")
{
    OutboxTurnBench bench;
    bench.server.closeAt("QUIT");
    bench.server.answer("BODY", "451 Come back");
    expectDelay(1, "451 Come back", "60");
    CHECK(bench.outcome(bench.add()).success);
    bench.server.forgive();
    bench.nowMs += 60000;
    bench.readUntil([&] { return bench.outbox->messages().value().empty(); });
    REQUIRE(bench.server.mails().size() == 1);
    CHECK(bench.server.mails()[0].data == kMail);
    CHECK(QDir(bench.folder.path("outbox/files")).isEmpty());
}

TEST_CASE("outbox turn: a message that has lost its recipients is kept as failed and keeps no other waiting")
{
    OutboxTurnBench bench;
    const auto damaged = bench.add();
    const auto whole = bench.add();
    SqliteFault::run(bench.path, "DELETE FROM recipients WHERE message = 1");
    TestSupport::expectWarning(
        "OutboxService # Message 1 to  was refused (the outbox has lost the recipients); it stays in the outbox as failed");
    CHECK_FALSE(bench.outcome(damaged).success);
    CHECK(bench.message(1).state == State::Failed);
    CHECK(bench.outcome(whole).success);
    CHECK(bench.server.connections() == 1);
}

TEST_CASE("outbox turn: a full disk that lets no message be claimed is reported once, and not taken for an empty outbox")
{
    OutboxTurnBench bench;
    const auto future = bench.add();
    auto fault = SqliteFault::fullDisk(bench.path, "UPDATE", "messages");
    expectFullDisk(bench.claimWarning);
    for (int i = 0; i < 5; ++i)
        bench.read();
    CHECK(bench.server.connections() == 0);
    CHECK(bench.message(1).state == State::Queued);
    CHECK(bench.number("queued") == 1);
    fault.mend();
    CHECK(bench.outcome(future).success);
}

TEST_CASE("outbox turn: a fault that comes back after it was mended is reported again")
{
    OutboxTurnBench bench;
    for (int i = 0; i < 2; ++i) {
        const auto future = bench.add();
        auto fault = SqliteFault::fullDisk(bench.path, "UPDATE", "messages");
        expectFullDisk(bench.claimWarning);
        bench.read();
        bench.read();
        fault.mend();
        CHECK(bench.outcome(future).success);
    }
}

TEST_CASE("outbox turn: a delivery that cannot be noted is noted later, and the message is not sent again")
{
    OutboxTurnBench bench;
    const auto first = bench.add();
    auto fault = SqliteFault::fullDisk(bench.path, "DELETE", "messages");
    expectFullDisk(bench.warning);
    TestSupport::expectWarning(
        "OutboxService # Failed to write what became of message 1 to ann@example.org (it is delivered); nothing else is "
        "sent until that is written");
    CHECK(bench.outcome(first).success); // it has arrived
    expectFullDisk(bench.warning);       // once more after something was written: the second message
    const auto second = bench.add();
    for (int i = 0; i < 3; ++i)
        bench.read();
    CHECK_FALSE(second.isReady());
    CHECK(bench.server.connections() == 1);
    CHECK(bench.message(1).state == State::Sending);
    fault.mend();
    CHECK(bench.outcome(second).success);
    CHECK(bench.server.mails().size() == 2);
    CHECK(bench.outbox->messages().value().empty());
}

TEST_CASE("outbox turn: each delivery that cannot be noted is reported")
{
    OutboxTurnBench bench;
    for (int id = 1; id <= 2; ++id) {
        auto fault = SqliteFault::fullDisk(bench.path, "DELETE", "messages");
        expectFullDisk(bench.warning);
        TestSupport::expectWarning("OutboxService # Failed to write what became of message " + std::to_string(id)
                                   + " to ann@example.org (it is delivered); nothing else is sent until that is written");
        CHECK(bench.outcome(bench.add()).success);
        fault.mend();
        bench.readUntil([&] { return bench.outbox->messages().value().empty(); });
    }
    CHECK(bench.server.mails().size() == 2);
}

TEST_CASE("outbox turn: a delay that cannot be noted strands no message, and the log says what is so")
{
    OutboxTurnBench bench;
    bench.server.answer("MAIL", "451 Come back");
    bench.server.holdAt("MAIL");
    const auto future = bench.add();
    bench.readUntil([&] { return bench.server.held() == 1; });
    auto full = SqliteFault::fullDisk(bench.path, "UPDATE", "messages");
    expectFullDisk(bench.warning);
    TestSupport::expectWarning(
        "OutboxService # Failed to write what became of message 1 to ann@example.org (it is not delivered: 451 Come back); "
        "nothing else is sent until that is written");
    bench.server.release();
    CHECK(bench.outcome(future).success);
    CHECK(bench.message(1).state == State::Sending);
    full.mend();
    bench.nowMs += 5000;
    expectDelay(1, "451 Come back", "60");
    bench.read();
    const OutboxMessage kept = bench.message(1);
    CHECK(kept.state == State::Queued);
    CHECK(kept.attempts == 1);
    CHECK(kept.nextAttemptMs == bench.nowMs + 60000);
    bench.server.forgive();
    bench.nowMs += 60000;
    bench.readUntil([&] { return bench.outbox->messages().value().empty(); });
    CHECK(bench.server.mails().size() == 1);
}

TEST_CASE("outbox turn: a refusal that cannot be noted is a failure for the sender, and noted later")
{
    OutboxTurnBench bench;
    bench.server.answer("MAIL", "550 Go away");
    const auto future = bench.add();
    auto fault = SqliteFault::fullDisk(bench.path, "UPDATE", "recipients");
    expectFullDisk(bench.warning);
    TestSupport::expectWarning(
        "OutboxService # Failed to write what became of message 1 to ann@example.org (it was refused: 550 Go away); nothing "
        "else is sent until that is written");
    CHECK(bench.outcome(future).error == "550 Go away");
    CHECK(bench.message(1).state == State::Sending);
    fault.mend();
    expectRefusal(1, "550 Go away");
    bench.delivery->finish();
    CHECK(bench.message(1).state == State::Failed);
    CHECK(bench.server.connections() == 1);
}

TEST_CASE("outbox turn: what an earlier program was sending is queued as soon as that can be written")
{
    OutboxTurnBench bench;
    OutboxMessage interrupted = bench.make(State::Sending);
    REQUIRE(bench.outbox->add(interrupted, {10, 1000}) == Outbox::Added::Yes);
    const QString orphan = bench.outbox->path(Outbox::newFile());
    bench.folder.write(QDir(bench.folder.path()).relativeFilePath(orphan), "half a message");
    auto fault = SqliteFault::fullDisk(bench.path, "UPDATE", "messages");
    expectFullDisk(bench.warning);
    bench.start();
    bench.read();
    CHECK(bench.server.connections() == 0);
    CHECK(QFileInfo::exists(orphan));
    fault.mend();
    bench.readUntil([&] { return bench.outbox->messages().value().empty(); });
    CHECK(bench.server.mails().size() == 1);
    bench.start();
    CHECK_FALSE(QFileInfo::exists(orphan));
}

TEST_CASE("outbox turn: a message queued under a clock that was far ahead is sent, and its age counts from now")
{
    OutboxTurnBench bench;
    bench.settings.giveUpHours = 1.0;
    bench.start();
    bench.server.answer("MAIL", "451 Come back");
    const qint64 rightMs = bench.nowMs;
    bench.nowMs += qint64(10) * 365 * 24 * 3'600'000;
    const auto attempts = [&](int number) { return [&bench, number] { return bench.message(1).attempts == number; }; };
    for (int i = 1; i <= 2; ++i) {
        TestSupport::expectWarningStartingWith("OutboxService # Message 1 to ann@example.org is not delivered yet (451 Come");
        if (i == 1)
            CHECK(bench.outcome(bench.add()).success);
        bench.nowMs = rightMs;
        bench.readUntil(attempts(i));
    }
    CHECK(bench.message(1).queuedSinceMs == rightMs);
    bench.read();
    CHECK(bench.server.connections() == 2);
    bench.nowMs += 3'600'000;
    TestSupport::expectWarningStartingWith("OutboxService # Message 1 to ann@example.org is given up after 1 hours");
    bench.readUntil([&] { return bench.message(1).state == State::Failed; });
}

TEST_CASE("outbox turn: once stopped, messages are queued for the next program, and answered as kept")
{
    OutboxTurnBench bench;
    bench.server.holdAt("MAIL");
    const auto interrupted = bench.add();
    bench.readUntil([&] { return bench.server.held() == 1; });
    bench.delivery->stop();
    const auto late = bench.add();
    bench.read();
    CHECK(bench.message(2).state == State::Queued);
    CHECK_FALSE(interrupted.isReady());
    bench.delivery->finish();
    CHECK(bench.message(1).state == State::Queued);
    CHECK(bench.message(1).attempts == 0);
    CHECK(interrupted.value().success);
    CHECK(late.value().success);
    CHECK(bench.server.connections() == 1);
}

TEST_CASE("outbox turn: at its deadline an answer is success, and the attempt goes on")
{
    OutboxTurnBench bench;
    bench.settings.answerSeconds = 0.0;
    bench.start();
    bench.server.holdAt("RCPT");
    bench.server.answer("RCPT", "550 unknown");
    const auto future = bench.add();
    CHECK_FALSE(future.isReady());
    bench.read();
    REQUIRE(future.isReady());
    CHECK(future.value().success);
    bench.readUntil([&] { return bench.server.held() == 1; });
    expectRefusal(1, "550 unknown");
    bench.server.release();
    bench.readUntil([&] { return bench.number("failed") == 1; });
}

TEST_CASE("outbox turn: no answer is completed before its deadline or the end of its attempt")
{
    OutboxTurnBench bench;
    bench.settings.answerSeconds = 3600.0;
    bench.start();
    bench.server.answer("RCPT", "550 unknown");
    bench.server.holdAt("RCPT");
    const auto future = bench.add();
    bench.readUntil([&] { return bench.server.held() == 1; });
    bench.read();
    CHECK_FALSE(future.isReady());
    TestSupport::expectWarningStartingWith("OutboxService # Message 1 to ann@example.org was refused (550 unknown)");
    bench.server.release();
    CHECK(bench.outcome(future).error == "550 unknown");
}

TEST_CASE("outbox turn: what depends on an answer may send the next message, and what it throws harms no other")
{
    OutboxTurnBench bench;
    std::vector<folly::Future<Status>> more;
    OutboxService::Promise promise;
    auto dependent = promise.getFuture().thenValue([&](const Status& status) {
        more.push_back(bench.add());
        if (status.success)
            throw std::runtime_error("no more room");
        return status.error;
    });
    bench.delivery->accept(bench.make(), std::move(promise));
    bench.readUntil([&] { return !more.empty(); });
    CHECK(dependent.hasException());
    CHECK(bench.outcome(more.front()).success);
    CHECK(bench.server.mails().size() == 2);
}

TEST_CASE("outbox turn: the state of an empty outbox")
{
    OutboxTurnBench bench;
    bench.read();
    CHECK(bench.delivery->state()
          == QJsonObject{{"name", ""},
                         {"queued", 0},
                         {"sending", 0},
                         {"failed", 0},
                         {"bytes", 0},
                         {"mostMessages", 2000},
                         {"mostBytes", 2e10},
                         {"oldest", QJsonValue()},
                         {"lastError", ""},
                         {"lastErrorAt", QJsonValue()}});
}

TEST_CASE("outbox turn: while the outbox cannot be read its state stays as it was")
{
    OutboxTurnBench bench;
    bench.server.answer("MAIL", "550 unknown");
    TestSupport::expectWarningStartingWith("OutboxService # Message 1 to ann@example.org was refused (550 unknown)");
    CHECK_FALSE(bench.outcome(bench.add()).success);
    auto fault = SqliteFault::lostTable(bench.path, "messages");
    TestSupport::expectWarningStartingWith(bench.claimWarning + "no such table: messages");
    TestSupport::expectWarningStartingWith("Outbox # Failed to read " + bench.path.toStdString() + " (no such table: messages");
    bench.nowMs += 10000;
    bench.read();
    const QJsonObject state = bench.delivery->state();
    CHECK(state.value("failed") == 1);
    CHECK(state.value("oldest") == "2026-09-21T14:13:20Z");
    CHECK(state.value("lastError") == "550 unknown");
    CHECK(state.value("lastErrorAt") == "2026-09-21T14:13:20Z");
    fault.mend();
}
