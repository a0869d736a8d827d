#pragma once

#include "services/content/ContentNote.hpp"

#include <QUrl>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

namespace Host
{
/// Brings files of the table to one media server, on threads of its own. What is to be sent is kept on the disk, so that it goes
/// on after a restart of either side; while the server is away it is tried again, after ever longer pauses. Content that the
/// server will never take is logged as a warning and given up. Any thread.
class ContentStream
{
public:
    struct Settings
    {
        QUrl address; ///< where commands go, with the credentials if there are any
        QByteArray key;
        double timeoutSeconds = 10.0; ///< of one request
        QString queueFile;            ///< see ContentQueue
        std::chrono::milliseconds firstPause{1000};
        std::chrono::milliseconds longestPause{60000};
    };
    /// `note`: nothing when the file cannot be read.
    using Described = std::function<void(const std::optional<ContentNote>& note)>;

    /// Begins with what the queue has kept.
    explicit ContentStream(const Settings& settings);
    /// Ends the transfer that is under way; it goes on when the queue is opened again. A file that is being read is given up, and
    /// calls of `describe` that wait are dropped.
    ~ContentStream();
    ContentStream(const ContentStream&) = delete;
    ContentStream& operator=(const ContentStream&) = delete;

    /// Reads a file for its hash, keeps the note on the disk until send() or forget() decides, and calls `described` on a thread
    /// of its own.
    void describe(const QString& path, Described described);
    /// The server lacks this: sends it, and asks about everything else that is kept.
    void send(const ContentNote& note);
    /// The server needs nothing of this: it is not kept any longer, unless it is being sent.
    void forget(const ContentNote& note);

private:
    struct Private;
    std::unique_ptr<Private> d;
};
}
