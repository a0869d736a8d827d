#include "FakeServices.hpp"

#include <algorithm>
#include <stdexcept>

namespace TestSupport
{
// ---- Marker service --------------------------------------------------------------------------------------------------

FakeTesselService::~FakeTesselService()
{
    releaseRegistrations();
}

void FakeTesselService::acceptRegistrations(bool accept)
{
    const std::lock_guard lock(m_mutex);
    m_accept = accept;
}

void FakeTesselService::holdRegistrations()
{
    const std::lock_guard lock(m_mutex);
    m_hold = true;
}

void FakeTesselService::releaseRegistrations()
{
    {
        const std::lock_guard lock(m_mutex);
        m_hold = false;
    }
    m_released.notify_all();
}

std::vector<FakeTesselService::Registration> FakeTesselService::registrations() const
{
    const std::lock_guard lock(m_mutex);
    return m_registrations;
}

FakeTesselService::WidgetOrError FakeTesselService::personalWidget(unsigned long code)
{
    personalWidgetCalls.push_back(code);
    if (answerPersonalWidget)
        return answerPersonalWidget(code);
    return boost::make_unexpected(QStringLiteral("no personal widget"));
}

bool FakeTesselService::registerPersonalMarker(unsigned long code, const QString& name, const QString& email)
{
    std::unique_lock lock(m_mutex);
    m_registrations.push_back({code, name, email, std::this_thread::get_id()});
    m_released.wait(lock, [this] { return !m_hold; });
    return m_accept;
}

// ---- Media server ----------------------------------------------------------------------------------------------------

std::vector<QJsonObject> FakeMediaServer::commands(const QString& name) const
{
    std::vector<QJsonObject> found;
    std::copy_if(m_commands.begin(), m_commands.end(), std::back_inserter(found),
                 [&](const QJsonObject& command) { return command.value(QLatin1String("command")).toString() == name; });
    return found;
}

folly::Future<QJsonObject> FakeMediaServer::request(const QJsonObject& command)
{
    m_commands.push_back(command);
    if (script && !m_hold) {
        try {
            return folly::makeFuture(script(command));
        } catch (const std::exception& failure) {
            return folly::makeFuture<QJsonObject>(std::runtime_error(failure.what()));
        }
    }
    return open(m_commands.size() - 1);
}
}
