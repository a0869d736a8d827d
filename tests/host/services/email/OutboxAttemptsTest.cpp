// Attempts one by one, on the test's own thread.

#include "MailBench.hpp"

#include "services/email/OutboxAnswers.hpp"
#include "services/email/OutboxAttempts.hpp"
#include "services/email/OutboxReport.hpp"

#include <EventLoop.hpp>
#include <LogCapture.hpp>
#include <SqliteFault.hpp>

#include <doctest/doctest.h>

#include <thread>

using namespace Host;

namespace
{
using State = OutboxMessage::State;
using TestSupport::SqliteFault;
using Turn = OutboxAttempts::Turn;
using Which = Outbox::Which;

const QByteArray kMail("Subject: x\r\n\r\nHello\r\n");

struct Bench
{
    Folder folder;
    QString error;
    TestSupport::SmtpTestServer server;
    MailSettings settings = testSettings(server.address());
    qint64 nowMs = 1'790'000'000'000;
    std::unique_ptr<Outbox> outbox = Outbox::open(folder.path("outbox"), error);
    OutboxAnswers answers{60.0};
    OutboxReport report{*outbox, [this] { return nowMs; }};
    std::unique_ptr<OutboxAttempts> attempts;
    bool goesOn = true;
    QString path = folder.path("outbox/outbox.sqlite");
    std::string warning = "Outbox # Failed to write " + path.toStdString() + " (";

    Bench() { start(); }
    /// As a program does at its start.
    void start()
    {
        attempts = std::make_unique<OutboxAttempts>(
            settings, MailCredentials(), OutboxAttempts::Surroundings{*outbox, answers, report, [this] { return nowMs; }});
        attempts->begin();
    }
    /// Adds message 1, 2, ...; its answer is owed.
    folly::Future<OutboxAnswers::Status> add(State state = State::Queued)
    {
        OutboxMessage message;
        message.messageId = QStringLiteral("<%1@x>").arg(outbox->messages().value().size() + 1);
        message.createdMs = message.queuedSinceMs = nowMs;
        message.state = state;
        message.sender = settings.sender.address;
        message.recipients = {{"ann@example.org", OutboxMessage::Outcome::Open, {}}};
        message.file = OutboxFiles::newName();
        message.sizeBytes = kMail.size();
        folder.write("outbox/files/" + message.file, kMail);
        OutboxAnswers::Promise promise;
        auto future = promise.getFuture();
        answers.add(message.messageId, std::move(promise));
        REQUIRE(outbox->add(message, {1000, 1'000'000}) == Outbox::Added::Yes);
        return future;
    }
    Turn turn(Which which = Which::All)
    {
        return attempts->makeOne(which, [this] { return goesOn; });
    }
    [[nodiscard]] OutboxMessage message(qint64 id) const { return messageOf(*outbox, id); }
};

void expectFullDisk(const std::string& start)
{
    TestSupport::expectWarningStartingWith(start + "database or disk is full");
}
}

TEST_CASE("outbox attempts: one call sends one message and answers its sender")
{
    Bench bench;
    auto first = bench.add();
    auto second = bench.add();
    CHECK(bench.turn() == Turn::Made);
    REQUIRE(first.isReady());
    CHECK(first.value().success);
    CHECK_FALSE(second.isReady());
    CHECK(bench.server.mails().size() == 1);
    CHECK(bench.turn() == Turn::Made);
    CHECK(second.isReady());
    CHECK(bench.turn() == Turn::NothingDue);
    CHECK(bench.outbox->messages().value().empty());
}

TEST_CASE("outbox attempts: a turn for new messages leaves old ones alone")
{
    Bench bench;
    bench.server.answer("MAIL", "451 Come back");
    TestSupport::expectWarning(
        "OutboxService # Message 1 to ann@example.org is not delivered yet (451 Come back); the next attempt is in 60 s");
    auto old = bench.add();
    CHECK(bench.turn(Which::Untried) == Turn::Made);
    bench.nowMs += 60000;
    CHECK(bench.turn(Which::Untried) == Turn::NothingDue);
    bench.server.forgive();
    auto young = bench.add();
    CHECK(bench.turn(Which::Untried) == Turn::Made);
    CHECK(young.isReady());
    CHECK(bench.message(1).state == State::Queued);
    CHECK(bench.turn(Which::All) == Turn::Made);
    CHECK(bench.server.mails().size() == 2);
}

TEST_CASE("outbox attempts: a message whose recipients cannot be read stays queued, and goes out whole later")
{
    Bench bench;
    auto future = bench.add();
    auto fault = SqliteFault::lostTable(bench.path, "recipients");
    // The second time says nothing new.
    TestSupport::expectWarningStartingWith("Outbox # Failed to take a message from " + bench.path.toStdString()
                                           + " (no such table: recipients");
    CHECK(bench.turn() == Turn::Fault);
    CHECK(bench.turn() == Turn::Fault);
    CHECK(bench.server.connections() == 0);
    fault.mend();
    CHECK(bench.message(1).state == State::Queued);
    CHECK(bench.turn() == Turn::Made);
    CHECK(bench.server.mails().size() == 1);
    CHECK(future.value().success);
}

TEST_CASE("outbox attempts: a message whose file is lost, or not as long as it was, is kept as failed and not sent")
{
    for (const bool isLost : {true, false}) {
        CAPTURE(isLost);
        Bench bench;
        auto future = bench.add();
        const QString file = bench.outbox->files().path(bench.message(1).file);
        REQUIRE((isLost ? QFile::remove(file) : QFile::resize(file, kMail.size() - 1)));
        TestSupport::expectWarning("OutboxService # Message 1 to ann@example.org was refused (the outbox has lost the message's "
                                   "file); it stays in the outbox as failed");
        CHECK(bench.turn() == Turn::Made);
        REQUIRE(future.isReady());
        CHECK(future.value().error == "the outbox has lost the message's file");
        CHECK(bench.message(1).state == State::Failed);
        CHECK(bench.server.connections() == 0);
    }
}

TEST_CASE("outbox attempts: every attempt sends the same bytes")
{
    Bench bench;
    static_cast<void>(bench.add());
    bench.server.closeAt("QUIT");
    bench.server.answer("BODY", "451 Come back");
    TestSupport::expectWarningStartingWith("OutboxService # Message 1 to ann@example.org is not delivered yet (451 Come back)");
    CHECK(bench.turn() == Turn::Made);
    bench.server.forgive();
    bench.nowMs += 60000;
    CHECK(bench.turn() == Turn::Made);
    REQUIRE(bench.server.mails().size() == 1);
    CHECK(bench.server.mails()[0].data == kMail);
    CHECK(QDir(bench.folder.path("outbox/files")).isEmpty());
}

TEST_CASE("outbox attempts: a message that has lost its recipients is kept as failed and keeps no other waiting")
{
    Bench bench;
    auto damaged = bench.add();
    auto whole = bench.add();
    SqliteFault::run(bench.path, "DELETE FROM recipients WHERE message = 1");
    TestSupport::expectWarning(
        "OutboxService # Message 1 to  was refused (the outbox has lost the recipients); it stays in the outbox as failed");
    CHECK(bench.turn() == Turn::Made);
    CHECK(bench.turn() == Turn::Made);
    REQUIRE(damaged.isReady());
    CHECK_FALSE(damaged.value().success);
    CHECK(bench.message(1).state == State::Failed);
    CHECK(whole.value().success);
    CHECK(bench.server.connections() == 1);
}

TEST_CASE("outbox attempts: a full disk that lets no message be taken is told once, and not taken for an empty outbox")
{
    Bench bench;
    auto future = bench.add();
    auto fault = SqliteFault::fullDisk(bench.path, "UPDATE", "messages");
    expectFullDisk("Outbox # Failed to take a message from " + bench.path.toStdString() + " (");
    for (int i = 0; i < 5; ++i)
        CHECK(bench.turn() == Turn::Fault);
    CHECK(bench.server.connections() == 0);
    CHECK(bench.message(1).state == State::Queued);
    fault.mend();
    CHECK(bench.turn() == Turn::Made);
    CHECK(future.value().success);
}

TEST_CASE("outbox attempts: a fault that comes back after it was mended is told again")
{
    Bench bench;
    auto future = bench.add();
    for (int i = 0; i < 2; ++i) {
        auto fault = SqliteFault::fullDisk(bench.path, "UPDATE", "messages");
        expectFullDisk("Outbox # Failed to take a message from " + bench.path.toStdString() + " (");
        CHECK(bench.turn() == Turn::Fault);
        fault.mend();
        CHECK(bench.turn() == Turn::Made);
        future = bench.add();
    }
}

TEST_CASE("outbox attempts: a delivery that cannot be noted is noted later, and the message is not sent again")
{
    Bench bench;
    auto first = bench.add();
    auto second = bench.add();
    auto fault = SqliteFault::fullDisk(bench.path, "DELETE", "messages");
    expectFullDisk(bench.warning);
    TestSupport::expectWarning(
        "OutboxService # Failed to write what became of message 1 to ann@example.org (it is delivered); nothing else is "
        "sent until that is written");
    CHECK(bench.turn() == Turn::Made);
    REQUIRE(first.isReady());
    CHECK(first.value().success); // it has arrived
    CHECK(bench.attempts->hasUnwritten());
    CHECK(bench.turn() == Turn::Fault);
    CHECK(bench.turn(Which::Untried) == Turn::Fault);
    CHECK_FALSE(second.isReady());
    CHECK(bench.server.mails().size() == 1);
    fault.mend();
    CHECK(bench.turn() == Turn::Made);
    CHECK(second.value().success);
    CHECK_FALSE(bench.attempts->hasUnwritten());
    CHECK(bench.turn() == Turn::NothingDue);
    CHECK(bench.server.mails().size() == 2);
    CHECK(bench.outbox->messages().value().empty());
}

TEST_CASE("outbox attempts: a delay that cannot be noted strands no message, and the log tells what is so")
{
    Bench bench;
    bench.server.answer("MAIL", "451 Come back");
    bench.server.holdAt("MAIL");
    auto future = bench.add();
    Turn made = Turn::NothingDue;
    expectFullDisk(bench.warning);
    TestSupport::expectWarning(
        "OutboxService # Failed to write what became of message 1 to ann@example.org (it is not delivered: 451 Come back); "
        "nothing else is sent until that is written");
    std::thread attempt([&] { made = bench.turn(); });
    const bool isHeld = TestSupport::pumpUntil([&] { return bench.server.held() == 1; }, 20000);
    auto full = SqliteFault::fullDisk(bench.path, "UPDATE", "messages");
    bench.server.release();
    attempt.join();
    REQUIRE(isHeld);
    CHECK(made == Turn::Made);
    REQUIRE(future.isReady());
    CHECK(future.value().success);
    CHECK(bench.message(1).state == State::Sending);
    full.mend();
    bench.nowMs += 5000;
    TestSupport::expectWarning(
        "OutboxService # Message 1 to ann@example.org is not delivered yet (451 Come back); the next attempt is in 60 s");
    CHECK(bench.turn() == Turn::NothingDue);
    const OutboxMessage kept = bench.message(1);
    CHECK(kept.state == State::Queued);
    CHECK(kept.attempts == 1);
    CHECK(kept.nextAttemptMs == bench.nowMs + 60000);
    bench.server.forgive();
    bench.nowMs += 60000;
    CHECK(bench.turn() == Turn::Made);
    CHECK(bench.server.mails().size() == 1);
}

TEST_CASE("outbox attempts: a refusal that cannot be noted is a failure for the sender, and noted later")
{
    Bench bench;
    bench.server.answer("MAIL", "550 Go away");
    auto future = bench.add();
    auto fault = SqliteFault::fullDisk(bench.path, "UPDATE", "recipients");
    expectFullDisk(bench.warning);
    TestSupport::expectWarning(
        "OutboxService # Failed to write what became of message 1 to ann@example.org (it was refused: 550 Go away); nothing "
        "else is sent until that is written");
    CHECK(bench.turn() == Turn::Made);
    REQUIRE(future.isReady());
    CHECK(future.value().error == "550 Go away");
    CHECK(bench.message(1).state == State::Sending);
    fault.mend();
    TestSupport::expectWarning(
        "OutboxService # Message 1 to ann@example.org was refused (550 Go away); it stays in the outbox as failed");
    CHECK(bench.attempts->writeOutcomes());
    CHECK(bench.message(1).state == State::Failed);
    CHECK(bench.server.connections() == 1);
}

TEST_CASE("outbox attempts: what an earlier program was sending is queued as soon as that can be written")
{
    Bench bench;
    auto future = bench.add(State::Sending);
    const QString orphan = bench.outbox->files().path(OutboxFiles::newName());
    bench.folder.write(QDir(bench.folder.path()).relativeFilePath(orphan), "half a message");
    auto fault = SqliteFault::fullDisk(bench.path, "UPDATE", "messages");
    expectFullDisk(bench.warning);
    bench.start();
    CHECK(bench.turn() == Turn::Fault);
    CHECK(QFileInfo::exists(orphan));
    fault.mend();
    CHECK(bench.turn() == Turn::Made);
    CHECK(future.value().success);
    bench.start();
    CHECK_FALSE(QFileInfo::exists(orphan));
}

TEST_CASE("outbox attempts: a message queued under a clock that was far ahead is sent, and its age counts from now")
{
    Bench bench;
    bench.settings.giveUpHours = 1.0;
    bench.start();
    bench.server.answer("MAIL", "451 Come back");
    const qint64 rightMs = bench.nowMs;
    bench.nowMs += qint64(10) * 365 * 24 * 3'600'000;
    auto future = bench.add();
    TestSupport::expectWarningStartingWith("OutboxService # Message 1 to ann@example.org is not delivered yet (451 Come back)");
    CHECK(bench.turn() == Turn::Made);
    bench.nowMs = rightMs;
    TestSupport::expectWarningStartingWith("OutboxService # Message 1 to ann@example.org is not delivered yet (451 Come back)");
    CHECK(bench.turn() == Turn::Made);
    CHECK(bench.message(1).queuedSinceMs == rightMs);
    CHECK(bench.turn() == Turn::NothingDue);
    bench.nowMs += 3'600'000;
    TestSupport::expectWarningStartingWith("OutboxService # Message 1 to ann@example.org is given up after 1 hours");
    CHECK(bench.turn() == Turn::Made);
}

TEST_CASE("outbox attempts: once stopped, the message is queued for the next program")
{
    Bench bench;
    bench.server.fallSilentAt("MAIL");
    auto future = bench.add();
    bench.goesOn = false;
    CHECK(bench.turn() == Turn::Made);
    CHECK(bench.message(1).state == State::Queued);
    CHECK(bench.message(1).attempts == 0);
    CHECK(future.value().success);
}
