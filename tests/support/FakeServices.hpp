#pragma once

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
/// A marker service without a database. Registrations may be asked for on any thread.
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

    /// What `personalWidget` answers; without one it answers the error "no personal widget".
    std::function<WidgetOrError(unsigned long)> answerPersonalWidget;
    /// The codes that `personalWidget` was asked for, in order.
    std::vector<unsigned long> personalWidgetCalls;

    /// Whether the service accepts registrations; true at first.
    void acceptRegistrations(bool accept);
    /// Registrations block until they are released (a held one is entered only then).
    void holdRegistrations();
    void releaseRegistrations();
    /// Those that were asked for, answered or not.
    [[nodiscard]] std::vector<Registration> registrations() const;

    WidgetOrError personalWidget(unsigned long code) override;
    bool registerPersonalMarker(unsigned long code, const QString& name, const QString& email) override;
    /// Releases what is held.
    ~FakeTesselService() override;

private:
    mutable std::mutex m_mutex;
    std::condition_variable m_released;
    bool m_accept = true;
    bool m_hold = false;
    std::vector<Registration> m_registrations;
};

/// A media server that answers as a test says: by a script at once, or command by command when the test wants it.
class FakeMediaServer final : public Tavola::ServiceInstance, public Tavola::JSONServerServiceAPI
{
public:
    /// Answers a command at once, on the caller's thread; what it throws becomes the failure. Without one, and while
    /// answers are held, a command waits for `answer` or `fail`.
    std::function<QJsonObject(const QJsonObject& command)> script;
    void holdAnswers(bool hold) { m_hold = hold; }

    /// Everything that was asked, in order, answered or not. The index of a command names it below.
    [[nodiscard]] const std::vector<QJsonObject>& commands() const { return m_commands; }
    /// The commands whose "command" is that one.
    [[nodiscard]] std::vector<QJsonObject> commands(const QString& name) const;
    /// The indices of those that wait.
    [[nodiscard]] std::vector<std::size_t> waiting() const;

    void answer(std::size_t index, const QJsonObject& reply);
    void fail(std::size_t index, const std::string& text);
    /// As above, completed on a thread of its own, which has ended when the call returns.
    void answerFromThread(std::size_t index, const QJsonObject& reply);
    void failFromThread(std::size_t index, const std::string& text);
    /// Gives up every waiting command without an answer.
    void breakPromises() { m_waiting.clear(); }

    folly::Future<QJsonObject> request(const QJsonObject& command) override;

private:
    struct Waiting
    {
        std::size_t index;
        folly::Promise<QJsonObject> promise;
    };
    [[nodiscard]] folly::Promise<QJsonObject> take(std::size_t index);

    bool m_hold = false;
    std::vector<QJsonObject> m_commands;
    std::vector<Waiting> m_waiting;
};
}
