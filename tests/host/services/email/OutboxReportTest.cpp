#include "Folder.hpp"

#include "services/email/Outbox.hpp"
#include "services/email/OutboxReport.hpp"

#include <LogCapture.hpp>
#include <SqliteFault.hpp>

#include <doctest/doctest.h>

using namespace Host;

namespace
{
using State = OutboxMessage::State;
using std::chrono::milliseconds;
constexpr Outbox::Limits kLimits{1000, 1'000'000};

struct Bench
{
    Folder folder;
    QString error;
    std::unique_ptr<Outbox> outbox = Outbox::open(folder.path("outbox"), error);
    qint64 nowMs = 1'790'000'000'000;
    OutboxReport report{*outbox, [this] { return nowMs; }};
    int count = 0;

    void add(State state, qint64 dueMs)
    {
        OutboxMessage message;
        message.messageId = QStringLiteral("<%1@x>").arg(++count);
        message.createdMs = message.queuedSinceMs = 1000 * count;
        message.state = state;
        message.nextAttemptMs = dueMs;
        message.recipients = {{"ann@example.org", OutboxMessage::Outcome::Open, {}}};
        REQUIRE(outbox->add(message, kLimits) == Outbox::Added::Yes);
    }
};
}

TEST_CASE("outbox report: an empty outbox is not read again before a message is added")
{
    Bench bench;
    const auto reading = bench.report.read();
    CHECK_FALSE(reading.isDue);
    CHECK_FALSE(reading.pause.has_value());
    CHECK(bench.report.json("post", kLimits)
          == QJsonObject{{"name", "post"},
                         {"queued", 0},
                         {"sending", 0},
                         {"failed", 0},
                         {"bytes", 0},
                         {"mostMessages", 1000},
                         {"mostBytes", 1000000},
                         {"oldest", QJsonValue()},
                         {"lastError", ""},
                         {"lastErrorAt", QJsonValue()}});
}

TEST_CASE("outbox report: the next reading is when a message is due, and every two seconds at least")
{
    Bench bench;
    bench.add(State::Queued, bench.nowMs + 5000);
    CHECK(bench.report.read().pause == milliseconds(2000));
    bench.nowMs += 4400;
    CHECK_FALSE(bench.report.read().isDue);
    CHECK(bench.report.read().pause == milliseconds(600));
    bench.nowMs += 600;
    CHECK(bench.report.read().isDue);
    // Not at once: an outbox that cannot be written stays due, and would be read without a pause.
    CHECK(bench.report.read().pause == milliseconds(2000));
}

TEST_CASE("outbox report: an outbox with messages that are being sent or have failed is read again: other programs may change it")
{
    Bench bench;
    bench.add(State::Failed, 0);
    bench.add(State::Sending, 0);
    CHECK_FALSE(bench.report.read().isDue);
    CHECK(bench.report.read().pause == milliseconds(2000));
    CHECK(bench.report.json({}, kLimits).value("failed") == 1);
    CHECK(bench.report.json({}, kLimits).value("sending") == 1);
    CHECK(bench.report.json({}, kLimits).value("oldest") == "1970-01-01T00:00:01Z");
}

TEST_CASE("outbox report: a message put off under a wrong clock is due, whatever else is queued")
{
    Bench bench;
    bench.add(State::Queued, bench.nowMs + 1000);
    bench.add(State::Queued, bench.nowMs + Outbox::kLongestPauseMs);
    CHECK_FALSE(bench.report.read().isDue);
    bench.add(State::Queued, bench.nowMs + Outbox::kLongestPauseMs + 1);
    CHECK(bench.report.read().isDue);
}

TEST_CASE("outbox report: an outbox that cannot be read keeps its numbers and is read again")
{
    Bench bench;
    bench.add(State::Failed, 0);
    bench.report.read();
    bench.report.noteError("550 unknown");
    auto fault = TestSupport::SqliteFault::lostTable(bench.folder.path("outbox/outbox.sqlite"), "messages");
    TestSupport::expectWarningStartingWith("Outbox # Failed to read ");
    const auto reading = bench.report.read();
    CHECK(reading.pause == milliseconds(2000));
    CHECK(bench.report.json({}, kLimits).value("failed") == 1);
    CHECK(bench.report.json({}, kLimits).value("lastError") == "550 unknown");
    CHECK(bench.report.json({}, kLimits).value("lastErrorAt") == "2026-09-21T14:13:20Z");
    fault.mend();
}
