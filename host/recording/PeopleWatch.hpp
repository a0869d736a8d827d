#pragma once

#include <Bedrock/Arrivals.hpp>
#include <Bedrock/WorkerPool.hpp>

#include <QByteArray>
#include <QTimer>

#include <atomic>
#include <memory>

namespace Host
{
class MarkerService;
class PeopleRegistry;

/// For a table that is recorded or replayed, in place of MarkerService::refreshCache. While it is recorded it looks every two
/// seconds whether somebody was registered elsewhere, at a desk while the table runs, and who is known then goes into the
/// recording; a replay looks at nothing and has it from there, in the same frame. Main thread.
class PeopleWatch
{
public:
    PeopleWatch(std::shared_ptr<PeopleRegistry> registry, std::shared_ptr<MarkerService> service);
    ~PeopleWatch();
    PeopleWatch(const PeopleWatch&) = delete;
    PeopleWatch& operator=(const PeopleWatch&) = delete;

    /// Looks now; reads on a thread of its own.
    void look();

private:
    void ask();
    void take(const QByteArray& people);

    std::shared_ptr<PeopleRegistry> m_registry;
    std::shared_ptr<MarkerService> m_service;
    QByteArray m_stamp;     ///< of what the table knows
    QByteArray m_readStamp; ///< of what is being read
    std::atomic<bool> m_isReading{false};
    std::atomic<int> m_refreshesToSkip{0};
    Bedrock::Arrivals::Ticket m_ticket = 0;
    std::shared_ptr<char> m_alive = std::make_shared<char>();
    QTimer m_timer;
    Bedrock::WorkerPool m_thread{1}; ///< last member: its thread ends first
};
}
