#pragma once

#include <Tavola/EmailMessage.hpp>

#include <QString>

#include <vector>

namespace Host
{
/// A message as the outbox keeps it: complete, so that it goes out the same however often it is tried. A plain record.
struct OutboxMessage
{
    enum class State {
        Queued,
        Sending, ///< an attempt is under way; after a crash as good as queued
        Failed   ///< refused for good, or given up; somebody must look at it
    };
    enum class Outcome { Open, Delivered, Refused };
    struct Recipient
    {
        Tavola::EmailAddress address;
        Tavola::EmailMessage::RecipientType type = Tavola::EmailMessage::To;
        Outcome outcome = Outcome::Open;
        QString reply; ///< the server's last words about this recipient
    };
    struct File
    {
        QString name; ///< as the recipient sees it
        QString mimeType;
        QString path; ///< absolute
        qint64 sizeBytes = 0;
    };

    qint64 id = 0;
    QString messageId; ///< with its angle brackets
    qint64 createdMs = 0;
    qint64 queuedSinceMs = 0; ///< counts for giving up: when it was accepted, or last tried anew by hand
    State state = State::Queued;
    int attempts = 0; ///< those that failed
    qint64 nextAttemptMs = 0;
    QString lastError;
    Tavola::EmailAddress sender;
    QString subject;
    QString text;
    QString html;   ///< may be empty
    QString folder; ///< the name of the folder with its files; empty without files
    std::vector<Recipient> recipients;
    std::vector<File> files;

    /// "ann@example.org, bob@example.org", for people.
    [[nodiscard]] QString recipientNames() const;
};
}
