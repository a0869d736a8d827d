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

std::vector<std::size_t> FakeMediaServer::waiting() const
{
    std::vector<std::size_t> indices;
    for (const auto& one : m_waiting)
        indices.push_back(one.index);
    return indices;
}

folly::Promise<QJsonObject> FakeMediaServer::take(std::size_t index)
{
    const auto found =
        std::find_if(m_waiting.begin(), m_waiting.end(), [index](const Waiting& one) { return one.index == index; });
    if (found == m_waiting.end())
        throw std::logic_error("command " + std::to_string(index) + " of the fake media server does not wait for an answer");
    auto promise = std::move(found->promise);
    m_waiting.erase(found);
    return promise;
}

void FakeMediaServer::answer(std::size_t index, const QJsonObject& reply)
{
    take(index).setValue(reply);
}

void FakeMediaServer::fail(std::size_t index, const std::string& text)
{
    take(index).setException(std::runtime_error(text));
}

void FakeMediaServer::answerFromThread(std::size_t index, const QJsonObject& reply)
{
    std::thread([promise = take(index), reply]() mutable { promise.setValue(reply); }).join();
}

void FakeMediaServer::failFromThread(std::size_t index, const std::string& text)
{
    std::thread([promise = take(index), text]() mutable { promise.setException(std::runtime_error(text)); }).join();
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
    m_waiting.push_back({m_commands.size() - 1, {}});
    return m_waiting.back().promise.getFuture();
}
}
