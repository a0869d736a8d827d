#pragma once

#include "services/content/ContentNote.hpp"

#include <QUrl>

#include <atomic>

namespace Host
{
/// Sends one file to a media server, which says what it has of it already: piece by piece, each a PUT that names its place, so
/// that one that is sent twice does no harm. Blocks; used on one thread.
class ContentSender
{
public:
    enum class Outcome {
        Sent,      ///< the server has it, perhaps since long
        NotWanted, ///< no item of the server waits for it
        Refused,   ///< it will not be taken, today or later
        Later,     ///< server, network or disk failed
    };
    struct Result
    {
        Outcome outcome;
        QString reason = {}; ///< for people
    };

    /// `address`: where commands go; a user name and password in it are sent as Basic credentials, `key` as a bearer token in
    /// their place. `timeoutSeconds`: of one request.
    ContentSender(const QUrl& address, const QByteArray& key, double timeoutSeconds);

    /// Ends with Later soon after `isStopped` is set, which any thread may do.
    [[nodiscard]] Result send(const ContentNote& note, const std::atomic<bool>& isStopped) const;

private:
    struct Answer;
    [[nodiscard]] Answer ask(const char* method, const ContentNote& note, qint64 from, const QByteArray& piece,
                             const std::atomic<bool>& isStopped) const;
    [[nodiscard]] QByteArray addressOf(const ContentNote& note, qint64 from) const;

    QUrl m_address;
    QByteArray m_authorization; ///< the header, or empty
    long m_timeoutMs;
};
}
