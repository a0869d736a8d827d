#pragma once

#include <Bedrock/RareWarnings.hpp>
#include <Bedrock/WorkerPool.hpp>

#include <chrono>

namespace MediaServer
{

class ItemStore;

/// Removes the pages to which nothing was added for a number of days, once an hour while the server is used, on a thread of its
/// own. Called on the server's thread.
class PageExpiry
{
public:
    using Clock = std::chrono::steady_clock;
    static constexpr std::chrono::hours kPause{1};

    /// `keepDays`: 0 removes nothing. Borrows the store.
    PageExpiry(ItemStore& store, int keepDays) : m_store(store), m_keepDays(keepDays) {}

    /// Call before each request. Removes old pages at the first call and when the last removal was an hour ago.
    void check(Clock::time_point now = Clock::now());
    /// Blocks until no removal is under way. For tests.
    void waitUntilIdle() { m_remover.waitUntilIdle(); }

private:
    void remove();

    ItemStore& m_store;
    int m_keepDays;
    bool m_hasRun = false;
    Clock::time_point m_ranAt;
    Bedrock::RareWarnings m_warnings{"MediaServer"}; ///< on the remover's thread
    Bedrock::WorkerPool m_remover{1};                ///< last member: its thread ends first
};

}
