#include "recording/PeopleWatch.hpp"

#include "services/MarkerService.hpp"
#include "services/PeopleRegistry.hpp"

namespace Host
{
namespace
{
constexpr int kLookEveryMs = 2000;
}

PeopleWatch::PeopleWatch(std::shared_ptr<PeopleRegistry> registry, std::shared_ptr<MarkerService> service)
    : m_registry(std::move(registry)), m_service(std::move(service)), m_stamp(m_registry->stamp())
{
    ask();
    if (Bedrock::Arrivals::instance().isReplaying())
        return;
    QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this] { look(); });
    m_timer.start(kLookEveryMs);
}

PeopleWatch::~PeopleWatch()
{
    m_thread.waitUntilIdle();
    m_alive.reset();
    Bedrock::Arrivals::instance().answer(m_ticket, QByteArray());
}

void PeopleWatch::look()
{
    if (m_isReading)
        return;
    if (m_refreshesToSkip > 0) {
        --m_refreshesToSkip;
        return;
    }
    // Taken before the reading: what is written meanwhile is read the next time.
    m_readStamp = m_registry->stamp();
    if (m_readStamp == m_stamp)
        return;
    m_isReading = true;
    m_thread.add([this, ticket = m_ticket] {
        m_service->inOrder([this, ticket] {
            if (const auto people = m_registry->people())
                return Bedrock::Arrivals::instance().answer(ticket, PeopleFile::format(*people).toUtf8());
            m_refreshesToSkip = MarkerService::kRefreshesSkippedAfterFailure;
            m_isReading = false;
        });
    });
}

void PeopleWatch::ask()
{
    m_ticket = Bedrock::Arrivals::instance().ask('r', [this, alive = std::weak_ptr<char>(m_alive)](const QByteArray& people) {
        if (!alive.expired())
            take(people);
    });
}

void PeopleWatch::take(const QByteArray& people)
{
    ask();
    m_stamp = m_readStamp;
    m_isReading = false;
    bool isComplete = false;
    const std::vector<Person> known = PeopleFile::parse(QString::fromUtf8(people), m_registry->path(), isComplete);
    m_service->fillCache(known);
    if (Bedrock::Arrivals::instance().isReplaying())
        m_registry->insert(known); // for those who register at the table
}
}
