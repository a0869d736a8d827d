#pragma once

#include <Tavola/EmailServiceAPI.hpp>

#include <QString>

#include <chrono>
#include <map>
#include <mutex>
#include <optional>

namespace Host
{
/// The promises of messages that wait for their first attempt, by Message-ID. Each is completed once: with the outcome of that
/// attempt, or with success at the deadline of a message that is kept. Any thread; a promise is completed on the calling thread,
/// and what its continuation throws is logged.
class OutboxAnswers
{
public:
    using Status = Tavola::EmailServiceAPI::EmailStatus;
    using Promise = folly::Promise<Status>;
    using Time = std::chrono::steady_clock::time_point;

    /// `answerSeconds`: from `setDeadline` to the deadline.
    explicit OutboxAnswers(double answerSeconds) : m_longestWait(qint64(answerSeconds * 1000.0)) {}

    /// Adds a promise without a deadline. Call it before the message can be attempted.
    void add(const QString& messageId, Promise promise);
    /// Sets the deadline of a message that is on the disk.
    void setDeadline(const QString& messageId);
    /// Does nothing when the promise is completed already.
    void complete(const QString& messageId, const Status& status);
    /// Completes those whose deadline has passed, with success. Returns the next deadline; nothing without one.
    std::optional<Time> completeOverdue();
    /// Completes all with success: their messages are on the disk.
    void completeAll();

    static void complete(Promise& promise, const Status& status);

private:
    struct Pending
    {
        Promise promise;
        std::optional<Time> deadline;
    };
    const std::chrono::milliseconds m_longestWait;
    std::mutex m_mutex;
    std::map<QString, Pending> m_pending;
};
}
