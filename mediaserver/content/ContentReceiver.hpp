#pragma once

#include "ContentFolder.hpp"
#include "ContentHashes.hpp"
#include "IncomingFiles.hpp"
#include "shared/WaitingThread.hpp"

#include <Bedrock/RareWarnings.hpp>
#include <Bedrock/WorkerPool.hpp>
#include <Http/Reply.hpp>

#include <memory>
#include <optional>
#include <set>
#include <utility>

namespace MediaServer
{

class ItemStore;

struct ContentLimits
{
    qint64 fileBytes = qint64(1) << 30; ///< of one file
    qint64 pieceBytes = 64 * 1024;      ///< of one request
};

/// Receives content that tables have and the content folder lacks:
///
///     GET /content/NAME?sha256=HEX&size=BYTES           what is there of it
///     PUT /content/NAME?sha256=HEX&size=BYTES&from=N    a piece, which begins at byte N
///
/// Only a file that an "additem" announced is accepted. Answers are {"state": "there"}, {"state": "coming", "received": BYTES,
/// "piece": BYTES} and {"error": TEXT}. A piece may be sent again: one that does not begin where the file ends changes nothing.
/// Borrows store and folder, which it asks on a thread of its own, with another one for files that are put into their place.
class ContentReceiver
{
public:
    struct Standing
    {
        enum class Kind {
            There,
            Coming,
            Unread,  ///< there, but its hash is not known yet: read it with hashes().read() and ask again
            Refused, ///< `text` is for the sender
            Failed,  ///< `text` is for the log
        };
        Kind kind;
        QString text = {};
    };

    static constexpr int kMostWaiting = 256;

    /// `contentFolder`: the path of `content`.
    ContentReceiver(ItemStore& store, const ContentFolder& content, const QString& contentFolder, const ContentLimits& limits);
    ~ContentReceiver() { close(); }
    /// Ends the thread: what waits for it is dropped. Call before what its tasks use is destroyed.
    void close() { m_thread.close(); }

    /// Runs a task on the thread of this class. False when too many wait. Any thread.
    [[nodiscard]] bool add(WaitingThread::Task task) { return m_thread.add(std::move(task)); }
    /// A table has collected this file: whether it is there, or is expected from now on. `name`: not yet checked. On the thread
    /// of this class.
    [[nodiscard]] Standing announce(const QString& name, const QByteArray& sha256, qint64 size);

    /// A request below /content/. `encodedName`: what follows, with the query. Any thread; returns at once.
    void handle(const Http::Request& request, const QByteArray& encodedName, Http::Reply reply);

    /// On the thread of this class.
    [[nodiscard]] ContentHashes& hashes() { return m_hashes; }

private:
    /// What a request is about, as its address says it.
    struct Asked
    {
        IncomingFiles::Id id;
        qint64 size = 0;
        qint64 from = 0;
    };
    using SharedReply = std::shared_ptr<Http::Reply>;

    [[nodiscard]] static std::optional<Asked> parse(const QByteArray& encodedName);
    [[nodiscard]] Standing compare(const Asked& asked);
    [[nodiscard]] Standing expect(const Asked& asked);
    void answer(const Http::Request& request, const Asked& asked, const SharedReply& reply);
    void answerState(const Asked& asked, const SharedReply& reply);
    void answerStanding(const Asked& asked, const Standing& standing, const SharedReply& reply);
    void takePiece(const Asked& asked, const QByteArray& piece, const SharedReply& reply);
    void place(const Asked& asked, const SharedReply& reply);
    void placed(const Asked& asked, IncomingFiles::Ending ending, const Http::File& file, const QString& reason,
                const SharedReply& reply);
    void answerComing(qint64 received, const SharedReply& reply) const;
    void fail(int status, const char* what, const QString& reason, const SharedReply& reply);

    ItemStore& m_store;
    const ContentFolder& m_content;
    ContentLimits m_limits;
    WaitingThread m_thread{kMostWaiting}; ///< what follows posts to it; closed first
    IncomingFiles m_files;
    ContentHashes m_hashes;
    std::set<QString> m_placing; ///< names of files whose last piece has come
    Bedrock::RareWarnings m_warnings{"MediaServer"};
    Bedrock::WorkerPool m_disk{1}; ///< last member: its thread ends first
};

/// Whether the text is a SHA-256 as 64 hexadecimal digits in small letters.
[[nodiscard]] bool isSha256(const QByteArray& text);

}
