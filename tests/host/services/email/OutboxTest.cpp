#include "MailBench.hpp"

#include "services/email/Outbox.hpp"

#include <LogCapture.hpp>
#include <SqliteFault.hpp>

#include <doctest/doctest.h>

#include <set>
#include <thread>

using namespace Host;

namespace
{
using State = OutboxMessage::State;
constexpr Outbox::Limits kLimits{1000, 1'000'000};
const QString kOldFolder = QStringLiteral("0b5c1a2e-7f3d-4c6b-9a8e-112233445566"); ///< of a message of version 1

struct OutboxBench
{
    Folder folder;
    QString error;
    std::unique_ptr<Outbox> outbox = Outbox::open(folder.path("outbox"), error);

    OutboxMessage add(State state = State::Queued, qint64 dueMs = 0, const QString& id = QStringLiteral("<1@x>"))
    {
        OutboxMessage message;
        message.messageId = id;
        message.createdMs = 1000;
        message.queuedSinceMs = 1000;
        message.state = state;
        message.nextAttemptMs = dueMs;
        message.sender = QStringLiteral("museum@example.net");
        message.recipients = {{"ann@example.org", OutboxMessage::Outcome::Open, {}},
                              {"bob@example.org", OutboxMessage::Outcome::Open, {}}};
        message.file = Outbox::newFile();
        message.sizeBytes = 3;
        folder.write("outbox/files/" + message.file, "abc");
        REQUIRE(outbox->add(message, kLimits) == Outbox::Added::Yes);
        return message;
    }
    [[nodiscard]] bool hasFile(const OutboxMessage& message) const { return QFileInfo::exists(outbox->path(message.file)); }
    [[nodiscard]] State state(qint64 id) const { return messageOf(*outbox, id).state; }
};
}

TEST_CASE("outbox: what was added is read by every program that opens it")
{
    OutboxBench bench;
    const OutboxMessage added = bench.add();
    const auto other = Outbox::open(bench.folder.path("outbox"), bench.error);
    REQUIRE(other);
    const auto messages = other->messages().value();
    REQUIRE(messages.size() == 1);
    const OutboxMessage& message = messages[0];
    CHECK(message.id == added.id);
    CHECK(message.messageId == "<1@x>");
    CHECK(message.createdMs == 1000);
    CHECK(message.queuedSinceMs == 1000);
    CHECK(message.sender == "museum@example.net");
    CHECK(message.recipientNames() == "ann@example.org, bob@example.org");
    CHECK(message.file == added.file);
    CHECK(message.sizeBytes == 3);
}

TEST_CASE("outbox: the queued message that is due longest is claimed, once")
{
    OutboxBench bench;
    const auto late = bench.add(State::Queued, 3000, "<1@x>");
    const auto early = bench.add(State::Queued, 2000, "<2@x>");
    bench.add(State::Failed, 0, "<3@x>");
    CHECK_FALSE(bench.outbox->claimDue(1999).has_value());
    const OutboxMessage taken = bench.outbox->claimDue(5000).value();
    CHECK(taken.id == early.id);
    CHECK(taken.state == State::Sending);
    CHECK(taken.recipients.size() == 2);
    CHECK(taken.file == early.file);
    CHECK(bench.outbox->claimDue(5000).value().id == late.id);
    CHECK_FALSE(bench.outbox->claimDue(5000).has_value()); // and no warning
    CHECK(bench.state(early.id) == State::Sending);
}

TEST_CASE("outbox: many threads claim each message once")
{
    OutboxBench bench;
    for (int i = 0; i < 40; ++i)
        bench.add(State::Queued, 0, QStringLiteral("<%1@x>").arg(i));
    std::vector<std::vector<qint64>> taken(4);
    std::vector<std::thread> threads;
    for (auto& mine : taken)
        threads.emplace_back([&bench, &mine] {
            while (const auto message = bench.outbox->claimDue(1))
                mine.push_back(message->id);
        });
    for (std::thread& thread : threads)
        thread.join();
    std::multiset<qint64> all;
    for (const auto& mine : taken)
        all.insert(mine.begin(), mine.end());
    CHECK(all.size() == 40);
    CHECK(std::set<qint64>(all.begin(), all.end()).size() == 40);
}

TEST_CASE("outbox: the outcome of an attempt is kept")
{
    OutboxBench bench;
    OutboxMessage message = bench.add();
    message.state = State::Queued;
    message.attempts = 2;
    message.nextAttemptMs = 7000;
    message.lastError = QStringLiteral("450 busy");
    message.recipients[0].outcome = OutboxMessage::Outcome::Delivered;
    message.recipients[1].reply = QStringLiteral("450 busy");
    CHECK(bench.outbox->update(message));
    const OutboxMessage read = messageOf(*bench.outbox, message.id);
    CHECK(read.attempts == 2);
    CHECK(read.nextAttemptMs == 7000);
    CHECK(read.lastError == "450 busy");
    CHECK(read.recipients[0].outcome == OutboxMessage::Outcome::Delivered);
    CHECK(read.recipients[1].reply == "450 busy");
    const OutboxSummary summary = bench.outbox->summary(1000).value();
    CHECK(summary.queued == 1);
    CHECK(summary.nextAttemptMs == 7000);
    CHECK(summary.oldestMs == 1000);
}

TEST_CASE("outbox: what messages carry of collections is known for ten minutes, whatever becomes of them but a failure")
{
    OutboxBench bench;
    const auto sent = [&bench] {
        QStringList lines;
        for (const auto& collected : bench.outbox->sentItems())
            lines << QStringLiteral("%1: %2").arg(collected.code).arg(QStringList(collected.keys).join(QLatin1Char(' ')));
        return lines;
    };
    const auto add = [&bench](const char* id, qint64 nowMs, const Tavola::EmailMessage::Collected& collected) {
        OutboxMessage message;
        message.messageId = QString::fromUtf8(id);
        message.createdMs = nowMs;
        message.sender = QStringLiteral("museum@example.net");
        message.file = Outbox::newFile();
        message.collected = collected;
        REQUIRE(bench.outbox->add(message, kLimits) == Outbox::Added::Yes);
        return message;
    };
    const OutboxMessage one = add("<1@x>", 1000, {7, {"a-1", "a-2"}});
    OutboxMessage other = add("<2@x>", 1000, {18446744073709551615UL, {"b-1"}});
    CHECK(sent() == QStringList{"18446744073709551615: b-1", "7: a-1 a-2"});
    CHECK(bench.outbox->remove(one)); // delivered
    CHECK(bench.outbox->update(other));
    CHECK(sent().size() == 2);
    other.state = State::Failed;
    CHECK(bench.outbox->update(other));
    CHECK(sent() == QStringList{"7: a-1 a-2"});
    // What is sent once more counts from then on.
    (void)add("<3@x>", 400'000, {7, {"a-2"}});
    (void)add("<4@x>", 601'000, {});
    CHECK(sent() == QStringList{"7: a-1 a-2"});
    (void)add("<5@x>", 601'001, {});
    CHECK(sent() == QStringList{"7: a-2"});
    CHECK(Outbox::open(bench.folder.path("outbox"), bench.error)->sentItems().size() == 1);
}

TEST_CASE("outbox: a removed message takes its file along")
{
    OutboxBench bench;
    const OutboxMessage message = bench.add();
    CHECK(bench.hasFile(message));
    CHECK(bench.outbox->remove(message));
    CHECK_FALSE(bench.hasFile(message));
    CHECK(bench.outbox->messages().value().empty());
}

TEST_CASE("outbox: after a crash what was being sent is queued, and files of no message are gone")
{
    OutboxBench bench;
    const OutboxMessage sending = bench.add(State::Sending, 5000);
    const OutboxMessage failed = bench.add(State::Failed, 0, "<2@x>");
    const QString orphan = bench.folder.write("outbox/files/" + Outbox::newFile(), "half a mess");
    bench.outbox = Outbox::open(bench.folder.path("outbox"), bench.error);
    REQUIRE(bench.outbox->lock());
    CHECK(bench.outbox->recover());
    bench.outbox->removeOrphans();
    CHECK(bench.state(sending.id) == State::Queued);
    CHECK(bench.outbox->claimDue(0).value().id == sending.id);
    CHECK(bench.state(failed.id) == State::Failed);
    CHECK_FALSE(QFileInfo::exists(orphan));
    CHECK(bench.hasFile(sending));
}

TEST_CASE("outbox: one program at a time sends")
{
    OutboxBench bench;
    CHECK(bench.outbox->lock());
    CHECK(bench.outbox->lock());
    auto other = Outbox::open(bench.folder.path("outbox"), bench.error);
    REQUIRE(other);
    CHECK_FALSE(other->lock());
    bench.outbox.reset();
    CHECK(other->lock());
}

TEST_CASE("outbox: a retry makes a failed message due at once, with those recipients that were refused")
{
    OutboxBench bench;
    OutboxMessage message = bench.add(State::Failed, 9000);
    message.attempts = 5;
    message.recipients[0].outcome = OutboxMessage::Outcome::Delivered;
    message.recipients[1].outcome = OutboxMessage::Outcome::Refused;
    REQUIRE(bench.outbox->update(message));
    CHECK(bench.outbox->retry(message.id, 4000));
    const OutboxMessage again = bench.outbox->claimDue(0).value();
    CHECK(again.queuedSinceMs == 4000);
    CHECK(again.createdMs == 1000);
    CHECK(again.attempts == 0);
    CHECK(again.recipients[0].outcome == OutboxMessage::Outcome::Delivered);
    CHECK(again.recipients[1].outcome == OutboxMessage::Outcome::Open);
    CHECK_FALSE(bench.outbox->retry(message.id, 4000)); // it is being sent
    CHECK_FALSE(bench.outbox->retry(99, 4000));
}

TEST_CASE("outbox: a message that is being sent is dropped only when no program sends")
{
    OutboxBench bench;
    const OutboxMessage message = bench.add(State::Sending);
    const auto visitor = Outbox::open(bench.folder.path("outbox"), bench.error);
    REQUIRE(bench.outbox->lock());
    CHECK_FALSE(visitor->drop(message.id));
    const QString file = bench.outbox->path(message.file);
    bench.outbox.reset();
    CHECK(visitor->drop(message.id));
    CHECK(visitor->messages().value().empty());
    CHECK_FALSE(QFileInfo::exists(file));
    CHECK_FALSE(visitor->drop(message.id));
    // Dropping does not keep the lock.
    CHECK(Outbox::open(bench.folder.path("outbox"), bench.error)->lock());
}

TEST_CASE("outbox: the outcome of a message that was dropped meanwhile brings nothing back")
{
    OutboxBench bench;
    OutboxMessage message = bench.add();
    REQUIRE(bench.outbox->drop(message.id));
    message.state = State::Queued;
    CHECK(bench.outbox->update(message));
    CHECK(bench.outbox->messages().value().empty());
}

TEST_CASE("outbox: the same message is not accepted twice")
{
    OutboxBench bench;
    bench.add();
    OutboxMessage again;
    again.messageId = QStringLiteral("<1@x>");
    TestSupport::expectWarningStartingWith("Outbox # Failed to write " + bench.folder.path("outbox/outbox.sqlite").toStdString());
    CHECK(bench.outbox->add(again, kLimits) == Outbox::Added::Fault);
    CHECK(bench.outbox->messages().value().size() == 1);
}

TEST_CASE("outbox: a message whose recipients cannot be read is not read at all")
{
    OutboxBench bench;
    const OutboxMessage message = bench.add();
    const std::string path = bench.folder.path("outbox/outbox.sqlite").toStdString();
    auto fault = TestSupport::SqliteFault::lostTable(QString::fromStdString(path), "recipients");
    TestSupport::expectWarningStartingWith("Outbox # Failed to read " + path + " (no such table: recipients");
    CHECK_FALSE(bench.outbox->messages().has_value());
    TestSupport::expectWarningStartingWith("Outbox # Failed to take a message from " + path + " (no such table: recipients");
    CHECK_FALSE(bench.outbox->claimDue(5000).has_value());
    fault.mend();
    CHECK(bench.state(message.id) == State::Queued);
    CHECK(bench.outbox->claimDue(5000).value().recipients.size() == 2);
}

TEST_CASE("outbox: a message that cannot be marked as being sent is not handed out")
{
    OutboxBench bench;
    const OutboxMessage message = bench.add();
    const QString path = bench.folder.path("outbox/outbox.sqlite");
    auto fault = TestSupport::SqliteFault::fullDisk(path, "UPDATE", "messages");
    TestSupport::expectWarningStartingWith("Outbox # Failed to take a message from " + path.toStdString()
                                           + " (database or disk is full");
    CHECK_FALSE(bench.outbox->claimDue(5000).has_value());
    fault.mend();
    CHECK(bench.outbox->claimDue(5000).value().id == message.id);
}

TEST_CASE("outbox: an outcome is written as a whole or not at all")
{
    OutboxBench bench;
    OutboxMessage message = bench.add(State::Sending);
    const QString path = bench.folder.path("outbox/outbox.sqlite");
    auto fault = TestSupport::SqliteFault::fullDisk(path, "UPDATE", "recipients");
    message.state = State::Failed;
    TestSupport::expectWarningStartingWith("Outbox # Failed to write " + path.toStdString() + " (database or disk is full");
    CHECK_FALSE(bench.outbox->update(message));
    fault.mend();
    CHECK(bench.state(message.id) == State::Sending);
}

TEST_CASE("outbox: a message that cannot be removed keeps its file")
{
    OutboxBench bench;
    const OutboxMessage message = bench.add();
    const QString path = bench.folder.path("outbox/outbox.sqlite");
    auto fault = TestSupport::SqliteFault::fullDisk(path, "DELETE", "messages");
    TestSupport::expectWarningStartingWith("Outbox # Failed to write " + path.toStdString() + " (database or disk is full");
    CHECK_FALSE(bench.outbox->remove(message));
    CHECK_FALSE(bench.outbox->drop(message.id));
    CHECK(bench.hasFile(message));
    fault.mend();
    CHECK(bench.outbox->remove(message));
}

TEST_CASE("outbox: a reason is reported once until something has been written again")
{
    OutboxBench bench;
    const QString path = bench.folder.path("outbox/outbox.sqlite");
    for (int i = 0; i < 2; ++i) {
        OutboxMessage message = bench.add(State::Queued, 0, QStringLiteral("<%1@x>").arg(i));
        auto fault = TestSupport::SqliteFault::fullDisk(path, "UPDATE", "messages");
        TestSupport::expectWarningStartingWith("Outbox # Failed to write " + path.toStdString() + " (database or disk is full");
        CHECK_FALSE(bench.outbox->update(message));
        CHECK(bench.outbox->removeFailed(0) == 0); // which writes nothing
        CHECK_FALSE(bench.outbox->update(message));
        fault.mend();
        CHECK(bench.outbox->update(message));
    }
}

TEST_CASE("outbox: a message that is due later than any pause lasts was put off under a wrong clock, and is due")
{
    OutboxBench bench;
    const qint64 nowMs = 1'790'000'000'000;
    const auto usual = bench.add(State::Queued, nowMs + Outbox::kLongestPauseMs, "<1@x>");
    CHECK_FALSE(bench.outbox->claimDue(nowMs).has_value());
    CHECK(bench.outbox->summary(nowMs).value().nextAttemptMs == usual.nextAttemptMs);
    const auto wrong = bench.add(State::Queued, nowMs + Outbox::kLongestPauseMs + 1, "<2@x>");
    CHECK(bench.outbox->summary(nowMs).value().nextAttemptMs <= nowMs);
    CHECK(bench.outbox->claimDue(nowMs).value().id == wrong.id);
    CHECK_FALSE(bench.outbox->claimDue(nowMs).has_value());
}

TEST_CASE("outbox: while a message is being sent that was attempted before, only those are due that were not")
{
    OutboxBench bench;
    const auto addTried = [&](const QString& id) {
        OutboxMessage tried = bench.add(State::Queued, 0, id);
        tried.attempts = 1;
        REQUIRE(bench.outbox->update(tried));
        return tried;
    };
    OutboxMessage first = addTried("<1@x>");
    const auto second = addTried("<2@x>");
    const auto untried = bench.add(State::Queued, 4000, "<3@x>");
    CHECK(bench.outbox->claimDue(5000).value().id == first.id);
    CHECK(bench.outbox->claimDue(5000).value().id == untried.id);
    CHECK_FALSE(bench.outbox->claimDue(5000).has_value());
    first.state = State::Failed;
    REQUIRE(bench.outbox->update(first));
    CHECK(bench.outbox->claimDue(5000).value().id == second.id);
}

TEST_CASE("outbox: no message is accepted beyond the limits, whatever the state of those that are kept")
{
    OutboxBench bench;
    const auto failed = bench.add(State::Failed, 0, "<1@x>");
    bench.add(State::Queued, 0, "<2@x>");
    OutboxMessage third;
    third.messageId = QStringLiteral("<3@x>");
    third.sizeBytes = 4;
    CHECK(bench.outbox->add(third, {2, 1000}) == Outbox::Added::Full);
    CHECK(bench.outbox->add(third, {3, 9}) == Outbox::Added::Full);
    CHECK(bench.outbox->messages().value().size() == 2);
    CHECK(bench.outbox->add(third, {3, 10}) == Outbox::Added::Yes);
    const OutboxSummary summary = bench.outbox->summary(0).value();
    CHECK(summary.count() == 3);
    CHECK(summary.bytes == 10);
    REQUIRE(bench.outbox->drop(failed.id));
    CHECK(bench.outbox->summary(0).value().bytes == 7);
}

TEST_CASE("outbox: messages that failed before a time are deleted with their files, and no others")
{
    OutboxBench bench;
    const auto early = bench.add(State::Failed, 5000, "<1@x>");
    const auto late = bench.add(State::Failed, 5001, "<2@x>");
    const auto ofEarlierVersion = bench.add(State::Failed, 0, "<3@x>"); // queued at 1000
    bench.add(State::Queued, 0, "<4@x>");
    bench.add(State::Sending, 0, "<5@x>");
    CHECK(bench.outbox->removeFailed(1000) == 0);
    CHECK(bench.outbox->removeFailed(5001) == 2);
    CHECK_FALSE(bench.hasFile(early));
    CHECK_FALSE(bench.hasFile(ofEarlierVersion));
    CHECK(bench.hasFile(late));
    CHECK(bench.outbox->messages().value().size() == 3);
    CHECK(bench.outbox->removeFailed(5001) == 0);
}

TEST_CASE("outbox: each file name is a new one")
{
    CHECK(Outbox::newFile() != Outbox::newFile());
    CHECK(Outbox::newFile().endsWith(".eml"));
}

TEST_CASE("outbox: it may lie in a folder with percent signs in its name")
{
    OutboxBench bench;
    const auto outbox = Outbox::open(bench.folder.path("50%3 %1"), bench.error);
    REQUIRE(outbox);
    CHECK(outbox->path("m") == bench.folder.path("50%3 %1") + "/files/m");
}

TEST_CASE("outbox: copies of version 1 that belong to no message are removed, and files of other names never")
{
    OutboxBench bench;
    const OutboxMessage kept = bench.add();
    for (const char* copy : {"/0", "/1"})
        bench.folder.write("outbox/files/" + kOldFolder + copy, "x");
    const QString mixed = "1" + kOldFolder.mid(1);
    const QStringList others{
        "notes.eml",         "x" + Outbox::newFile(), Outbox::newFile() + ".bak", Outbox::newFile().toUpper(),
        kOldFolder.left(35), mixed + "/notes"};
    for (const QString& name : others)
        bench.folder.write("outbox/files/" + name, "x");
    bench.outbox->removeOrphans();
    for (const QString& name : others)
        CHECK(QFileInfo::exists(bench.outbox->path(name)));
    CHECK(bench.hasFile(kept));
    CHECK(QDir(bench.outbox->path("")).entryList(QDir::AllEntries | QDir::NoDotAndDotDot).size() == others.size() + 1);

    bench.folder.write("outbox/outside", "x");
    bench.outbox->removeFile("../outside");
    bench.outbox->removeFile(QString());
    CHECK(QFileInfo::exists(bench.folder.path("outbox/outside")));
    CHECK(bench.hasFile(kept));
}

TEST_CASE("outbox: nothing is removed through a link, whether it is a file's, a folder's or the outbox's own")
{
    OutboxBench bench;
    const QString target = bench.folder.write("elsewhere/0", "precious");
    const QString own = Outbox::newFile();
    bench.folder.write("elsewhere/" + own, "precious");
    bench.folder.write("outbox/files/" + kOldFolder + "/1", "x");
    for (const QString& link :
         {QStringLiteral("outbox/outbox.lock"), "outbox/files/" + Outbox::newFile(), "outbox/files/" + kOldFolder + "/0"})
        REQUIRE(QFile::link(target, bench.folder.path(link)));
    REQUIRE(QFile::link(bench.folder.path("elsewhere"), bench.folder.path("outbox/files/1" + kOldFolder.mid(1))));
    REQUIRE(bench.outbox->lock());
    REQUIRE(bench.outbox->recover());
    bench.outbox->removeOrphans();

    REQUIRE(QDir(bench.folder.path("outbox/files")).removeRecursively());
    REQUIRE(QFile::link(bench.folder.path("elsewhere"), bench.folder.path("outbox/files")));
    bench.outbox->removeOrphans();
    bench.outbox->removeFile(own);
    for (const QString& name : {QStringLiteral("0"), own}) {
        QFile file(bench.folder.path("elsewhere/" + name));
        REQUIRE(file.open(QIODevice::ReadOnly));
        CHECK(file.readAll() == "precious");
    }
}

TEST_CASE("outbox: it is to be read again when a message is due, and every two seconds while it has any")
{
    using std::chrono::milliseconds;
    OutboxBench bench;
    const qint64 nowMs = 1'790'000'000'000;
    const auto pause = [&](qint64 ms) { return bench.outbox->summary(ms).value().pause(ms); };
    CHECK(pause(nowMs) == OutboxSummary::kIdlePause);
    bench.add(State::Failed, 0, "<1@x>");
    CHECK(pause(nowMs) == milliseconds(2000));
    bench.add(State::Queued, nowMs + 5000, "<2@x>");
    CHECK(pause(nowMs) == milliseconds(2000));
    CHECK(pause(nowMs + 4400) == milliseconds(600));
    // Not at once: an outbox that cannot be written stays due, and would be read without a pause.
    CHECK(pause(nowMs + 5000) == milliseconds(2000));
    CHECK(pause(nowMs + 5001) == milliseconds(2000));
}
