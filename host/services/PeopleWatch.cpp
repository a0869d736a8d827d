#include "services/PeopleWatch.hpp"

#include "services/MarkerService.hpp"
#include "services/PeopleRegistry.hpp"
#include "services/ServiceStates.hpp"

#include <Bedrock/Inbox.hpp>
#include <Facet/Node.hpp>
#include <Tavola/TesselServiceCache.hpp>

#include <mutex>
#include <utility>

namespace Host
{
namespace
{
constexpr char kPeopleJob = 'r';
constexpr int kCheckEveryMs = 2000;
/// Another table's change is shown within a second; the check costs the reading of a number.
constexpr int kCheckSharedEveryMs = 250;

/// The answer in place of people, whose list begins otherwise.
const QByteArray kUnreadable = QByteArrayLiteral("!");

using Entries = MarkerService::Entries;
}

/// Between the main thread and the reader.
struct PeopleWatch::Shared
{
    std::mutex mutex;
    Bedrock::BytesReply question;     ///< for the people after the next change
    std::shared_ptr<Entries> entries; ///< of the people that were read, made by the reader because there may be thousands
    bool isReading = false;
    bool hasFailed = false;
};

PeopleWatch::PeopleWatch(std::shared_ptr<PeopleRegistry> registry, std::shared_ptr<MarkerService> service, Received received,
                         std::shared_ptr<ServiceStates> states)
    : m_registry(std::move(registry)), m_service(std::move(service)), m_received(std::move(received)),
      m_states(std::move(states)), m_shared(std::make_shared<Shared>())
{
    // Taken before the reading, as below.
    const QByteArray stamp = m_registry->stamp();
    if (m_service->fillCache())
        m_stamp = stamp;
    QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this] { check(); });
    askForChange();
}

PeopleWatch::~PeopleWatch() = default;

void PeopleWatch::askForChange()
{
    Bedrock::Inbox::instance().ask(
        kPeopleJob,
        [this](Bedrock::BytesReply reply) {
            const std::lock_guard<std::mutex> guard(m_shared->mutex);
            m_shared->question = std::move(reply);
            if (!m_timer.isActive())
                m_timer.start(m_registry->isShared() ? kCheckSharedEveryMs : kCheckEveryMs);
        },
        [this, alive = std::weak_ptr<Shared>(m_shared)](const QByteArray& people) {
            if (!alive.expired())
                enter(people);
        });
}

bool PeopleWatch::check()
{
    {
        const std::lock_guard<std::mutex> guard(m_shared->mutex);
        if (!m_shared->question || m_shared->isReading)
            return false;
        if (std::exchange(m_shared->hasFailed, false))
            m_checksToSkip = kChecksSkippedAfterFailure * (m_registry->isShared() ? kCheckEveryMs / kCheckSharedEveryMs : 1);
    }
    const QByteArray stamp = m_registry->stamp();
    // A server that is back, or was lost once more.
    const bool hasNews = m_registry->isShared() && stamp != m_readStamp;
    if (m_checksToSkip > 0 && !hasNews) {
        --m_checksToSkip;
        return false;
    }
    m_checksToSkip = 0;
    // Taken before the reading: what is written meanwhile is read the next time.
    m_readStamp = stamp;
    if (m_readStamp == m_stamp)
        return false;
    {
        const std::lock_guard<std::mutex> guard(m_shared->mutex);
        m_shared->isReading = true;
    }
    m_reader.add([shared = m_shared, service = m_service, registry = m_registry] {
        service->inOrder([&] {
            const auto people = registry->people();
            auto entries = people ? std::make_shared<Entries>(MarkerService::entriesOf(*people)) : nullptr;
            const QByteArray bytes = people ? PeopleFile::format(*people).toUtf8() : kUnreadable;
            const std::lock_guard<std::mutex> guard(shared->mutex);
            shared->isReading = false;
            shared->hasFailed = !people;
            shared->entries = std::move(entries);
            std::move(shared->question).answer(bytes);
        });
    });
    return true;
}

void PeopleWatch::waitUntilIdle()
{
    m_reader.waitUntilIdle();
}

void PeopleWatch::enter(const QByteArray& people)
{
    std::shared_ptr<Entries> entries;
    {
        const std::lock_guard<std::mutex> guard(m_shared->mutex);
        entries = std::move(m_shared->entries);
    }
    askForChange();
    const bool isUnreadable = people == kUnreadable;
    if (m_states)
        m_states->set(ServiceState::PeopleAway, isUnreadable);
    if (isUnreadable)
        return;
    m_stamp = m_readStamp;
    std::vector<Person> known;
    if (!entries || m_received) {
        bool isComplete = false;
        known = PeopleFile::parse(QString::fromUtf8(people), m_registry->path(), isComplete);
    }
    if (!entries)
        entries = std::make_shared<Entries>(MarkerService::entriesOf(known));
    // After the update, as registrations at the table: they keep the order of their accesses to the registry.
    Facet::Node::invokeAfterUpdate([this, alive = std::weak_ptr<Shared>(m_shared), entries] {
        if (alive.expired())
            return;
        *entries = m_service->fillCache(std::move(*entries));
        m_reader.add([entries] { *entries = {}; }); // thousands of entries take their time, too
    });
    if (m_received)
        m_received(known);
}
}
