#pragma once

#include <Tavola/EmailMessage.hpp>

#include <QString>

#include <vector>

namespace Host
{
/// A message of the outbox: envelope, state and the name of the finished file that is sent at every attempt. A plain record.
struct OutboxMessage
{
    enum class State {
        Queued,
        Sending, ///< an attempt is under way; after a crash the same as queued
        Failed   ///< refused for good, or given up; waits for an operator
    };
    enum class Outcome { Open, Delivered, Refused };
    struct Recipient
    {
        QString address;
        Outcome outcome = Outcome::Open;
        QString reply; ///< the server's last words about this recipient
    };

    qint64 id = 0;
    QString messageId; ///< with its angle brackets
    qint64 createdMs = 0;
    qint64 queuedSinceMs = 0; ///< counts for giving up: when it was accepted, or last retried by an operator
    State state = State::Queued;
    int attempts = 0;         ///< those that failed
    qint64 nextAttemptMs = 0; ///< of a failed message: when it failed
    QString lastError;
    QString sender; ///< an address
    QString file;   ///< the name of the finished message, see OutboxFiles
    qint64 sizeBytes = 0;
    std::vector<Recipient> recipients;
    Tavola::EmailMessage::Collected collected{}; ///< of a message that is to be added; see Outbox::sentItems

    /// "ann@example.org, bob@example.org", for log lines and lists.
    [[nodiscard]] QString recipientNames() const;
};
}
