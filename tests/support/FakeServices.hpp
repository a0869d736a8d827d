#pragma once

#include "HeldAnswers.hpp"

#include <Tavola/JSONServerServiceAPI.hpp>
#include <Tavola/ServiceInstance.hpp>
#include <Tavola/TesselServiceAPI.hpp>
#include <Trellis/Widget.hpp>

#include <QJsonObject>
#include <QString>

#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace TestSupport
{
/// A marker service without a database. Registrations may be requested on any thread.
class FakeTesselService final : public Tavola::TesselServiceAPI
{
public:
    using WidgetOrError = boost::expected<Bedrock::IntrusivePtr<Trellis::Widget>, QString>;
    struct Registration
    {
        unsigned long code;
        QString name;
        QString email;
        std::thread::id thread;
    };

    /// Gives the result of `personalWidget`; without a function that is the error "no personal widget".
    std::function<WidgetOrError(unsigned long)> answerPersonalWidget;
    /// The codes of the calls of `personalWidget`, in order.
    std::vector<unsigned long> personalWidgetCalls;

    /// Whether the service accepts registrations; true at first.
    void acceptRegistrations(bool accept);
    /// Registrations block until they are released.
    void holdRegistrations();
    void releaseRegistrations();
    /// All requests, answered or not.
    [[nodiscard]] std::vector<Registration> registrations() const;

    WidgetOrError personalWidget(unsigned long code) override;
    bool registerPersonalMarker(unsigned long code, const QString& name, const QString& email) override;
    /// Releases held registrations.
    ~FakeTesselService() override;

private:
    mutable std::mutex m_mutex;
    std::condition_variable m_released;
    bool m_accept = true;
    bool m_hold = false;
    std::vector<Registration> m_registrations;
};

/// A media server that answers as a test says: at once by a script, or command by command (see HeldAnswers). The index of a
/// command is its place in `commands`.
class FakeMediaServer final : public Tavola::ServiceInstance, public Tavola::JSONServerServiceAPI, public HeldAnswers<QJsonObject>
{
public:
    /// Answers a command at once, on the caller's thread; an exception fails the future. Without a script, and while answers are
    /// held, a command stays open until `answer` or `fail`.
    std::function<QJsonObject(const QJsonObject& command)> script;
    void holdAnswers(bool hold) { m_hold = hold; }

    /// All commands, in order, answered or not.
    [[nodiscard]] const std::vector<QJsonObject>& commands() const { return m_commands; }
    /// The commands whose "command" is that name.
    [[nodiscard]] std::vector<QJsonObject> commands(const QString& name) const;

    folly::Future<QJsonObject> request(const QJsonObject& command) override;

private:
    bool m_hold = false;
    std::vector<QJsonObject> m_commands;
};
}
