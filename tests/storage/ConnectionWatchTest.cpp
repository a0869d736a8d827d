#include "ConnectionWatch.hpp"

#include "Connection.hpp"

#include <Patience.hpp>

#include <doctest/doctest.h>

#include <future>

using namespace Storage;
using namespace std::chrono_literals;
using Clock = ConnectionWatch::Clock;

namespace
{
/// A connection that only notes its interruption.
class WatchedConnection final : public Connection
{
public:
    WatchedConnection() : Connection(QStringLiteral("QSQLITE"), Address()) {}

    [[nodiscard]] bool open(const Schema&, QString&) override { return true; }
    [[nodiscard]] bool begin(Store::Kind) override { return true; }
    [[nodiscard]] bool commit(Store::Kind, bool) override { return true; }
    [[nodiscard]] bool execute(const QString&) override { return true; }
    [[nodiscard]] bool readChanges(bool&) override { return true; }
    [[nodiscard]] std::chrono::milliseconds checkEvery() const override { return 1h; }
    void interrupt() override { m_interrupted.set_value(); }

    [[nodiscard]] bool isInterrupted()
    {
        return m_interrupted.get_future().wait_for(TestSupport::kPatience) == std::future_status::ready;
    }

protected:
    [[nodiscard]] Fault faultOf(const QSqlError&) const override { return {}; }

private:
    std::promise<void> m_interrupted; ///< a second interruption would throw
};
}

TEST_CASE("connection watch: a guard interrupts its connection at its time, also when one before it had a later time")
{
    WatchedConnection first;
    WatchedConnection second;
    ConnectionWatch watch;
    {
        const ConnectionWatch::Guard guard(watch, first, Clock::now() + 1h);
    }
    const ConnectionWatch::Guard guard(watch, second, Clock::now());
    CHECK(second.isInterrupted());
}

TEST_CASE("connection watch: after the end connections are interrupted at once, those under way and later ones")
{
    WatchedConnection underWay;
    WatchedConnection later;
    ConnectionWatch watch;
    {
        const ConnectionWatch::Guard guard(watch, underWay, Clock::now() + 1h);
        watch.endAt(Clock::now());
        CHECK(underWay.isInterrupted());
    }
    watch.endAt(Clock::now() + 1h); // the earlier one counts
    const ConnectionWatch::Guard guard(watch, later, Clock::now() + 1h);
    CHECK(later.isInterrupted());
}
