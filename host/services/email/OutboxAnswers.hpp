#pragma once

#include <Tavola/EmailServiceAPI.hpp>

#include <QString>

#include <chrono>
#include <map>
#include <mutex>
#include <optional>

namespace Host
{
/// The answers that an e-mail service owes to those who sent messages, by Message-ID. Each is given once: when the first attempt
/// has ended, or with success when a kept message has waited for that long enough. Any thread; a promise is completed on the
/// thread that settles it, and what its continuation throws is logged.
class OutboxAnswers
{
public:
    using Status = Tavola::EmailServiceAPI::EmailStatus;
    using Promise = folly::Promise<Status>;
    using Time = std::chrono::steady_clock::time_point;

    /// `patienceSeconds`: for how long a kept message may wait for the end of its first attempt.
    explicit OutboxAnswers(double patienceSeconds);

    /// To be called before the message can be seen by anybody who attempts it.
    void owe(const QString& messageId, Promise promise);
    /// The message is on the disk: its patience begins.
    void beginPatience(const QString& messageId);
    /// Nothing, when it is answered already.
    void settle(const QString& messageId, const Status& status);
    /// Success for those who have waited long enough. Returns when that is the case for the next one; nothing without one.
    std::optional<Time> settleOverdue();
    /// Success for everybody: all messages are on the disk.
    void settleAll();

    /// Completes a promise that is owed to nobody else.
    static void complete(Promise& promise, const Status& status);

private:
    struct Debt
    {
        Promise promise;
        std::optional<Time> latest; ///< nothing until the message is kept
    };
    const std::chrono::milliseconds m_patience;
    std::mutex m_mutex;
    std::map<QString, Debt> m_debts;
};
}
