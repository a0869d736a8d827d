#pragma once

#include "services/PeopleFile.hpp"

#include <Bedrock/WorkerPool.hpp>

#include <QByteArray>
#include <QTimer>

#include <functional>
#include <memory>
#include <vector>

namespace Host
{
class MarkerService;
class PeopleRegistry;
class ServiceStates;

/// Keeps the cache of people in step with the registry, into which other programs write while the table runs. Every two seconds,
/// four times a second where tables share the registry, it compares the registry's stamp; a changed registry is read on a thread
/// of its own, and its people enter the cache through the inbox, all at once. A registry that cannot be read leaves the cache as
/// it is. Main thread only.
class PeopleWatch
{
public:
    using Received = std::function<void(const std::vector<Person>& people)>;

    /// Fills the cache in the call. `received`, if any, is called with the people of each change, in the input step of the frame.
    /// `states`, if any, shows whether a changed registry could be read.
    PeopleWatch(std::shared_ptr<PeopleRegistry> registry, std::shared_ptr<MarkerService> service, Received received = {},
                std::shared_ptr<ServiceStates> states = nullptr);
    ~PeopleWatch();
    PeopleWatch(const PeopleWatch&) = delete;
    PeopleWatch& operator=(const PeopleWatch&) = delete;

    /// Compares the registry's stamp now and begins to read a changed one. Whether it has begun; false while an earlier reading
    /// is under way.
    bool check();
    /// A registry that cannot be read is checked less often, because each attempt is a warning; at once when its server is back.
    static constexpr int kChecksSkippedAfterFailure = 15;
    /// Blocks until no reading is under way. For tests.
    void waitUntilIdle();

private:
    struct Shared;
    void askForChange();
    void enter(const QByteArray& people);

    std::shared_ptr<PeopleRegistry> m_registry;
    std::shared_ptr<MarkerService> m_service;
    Received m_received;
    std::shared_ptr<ServiceStates> m_states;
    QByteArray m_stamp;     ///< of the people in the cache
    QByteArray m_readStamp; ///< of the people read last
    int m_checksToSkip = 0;
    std::shared_ptr<Shared> m_shared;
    QTimer m_timer;
    Bedrock::WorkerPool m_reader{1}; ///< last member: its thread ends first
};
}
