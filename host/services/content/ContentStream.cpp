#include "services/content/ContentStream.hpp"

#include "services/content/ContentQueue.hpp"
#include "services/content/ContentSender.hpp"

#include <Bedrock/Guarded.hpp>
#include <Bedrock/RareWarnings.hpp>
#include <Bedrock/Trace.hpp>
#include <Bedrock/WorkerPool.hpp>

#include <QCryptographicHash>
#include <QDateTime>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <deque>
#include <iterator>
#include <map>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace Host
{
namespace
{
/// Nothing when the file cannot be read, or when `isStopped` is set meanwhile.
std::optional<ContentNote> read(const QString& path, const std::atomic<bool>& isStopped)
{
    constexpr qint64 kPieceBytes = 1 << 20;
    QFile file(path);
    QCryptographicHash hash(QCryptographicHash::Sha256);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        return std::nullopt;
    for (QByteArray piece = file.read(kPieceBytes); !piece.isEmpty(); piece = file.read(kPieceBytes)) {
        hash.addData(piece);
        if (isStopped)
            return std::nullopt;
    }
    if (file.error() != QFileDevice::NoError)
        return std::nullopt;
    return ContentNote{QFileInfo(path).fileName(), path, hash.result().toHex(), file.size()};
}

bool isSame(const ContentNote& one, const ContentNote& other)
{
    return one.name == other.name && one.sha256 == other.sha256;
}

template <class Notes>
bool has(const Notes& notes, const ContentNote& note)
{
    return std::any_of(notes.begin(), notes.end(), [&](const ContentNote& each) { return isSame(each, note); });
}
}

struct ContentStream::Private
{
    explicit Private(const Settings& settingsToUse)
        : settings(settingsToUse), queue(settings.queueFile), sender(settings.address, settings.key, settings.timeoutSeconds)
    {
    }

    /// A file as it was when it was read.
    struct Seen
    {
        QDateTime changed;
        ContentNote note;
    };

    std::optional<ContentNote> describe(const QString& path);
    void run();
    void addKept();
    void end(const ContentNote& note, const ContentSender::Result& result);

    const Settings settings;
    const ContentQueue queue;
    const ContentSender sender;
    std::map<QString, Seen> seen; ///< by path; on the reader's thread
    std::mutex mutex;
    std::condition_variable changed;
    std::deque<ContentNote> due; ///< the first one is tried next; under the mutex, as the rest
    std::atomic<bool> isStopped{false};
    bool isWoken = false;
    std::chrono::milliseconds pause{0};              ///< after the last attempt, which failed; 0: it did not
    Bedrock::RareWarnings warnings{"ContentStream"}; ///< on the sender's thread
    std::thread sending;
    Bedrock::WorkerPool reader{1}; ///< last member: its thread ends first
};

std::optional<ContentNote> ContentStream::Private::describe(const QString& path)
{
    const QFileInfo file(path);
    const auto known = seen.find(path);
    if (known != seen.end() && known->second.changed == file.lastModified() && known->second.note.size == file.size())
        return known->second.note;
    auto note = read(path, isStopped);
    if (note)
        seen[path] = {file.lastModified(), *note};
    return note;
}

/// What is kept becomes due, and what is due is kept.
void ContentStream::Private::addKept()
{
    const auto kept = queue.notes();
    if (!kept)
        return;
    std::vector<ContentNote> missing;
    {
        const std::lock_guard<std::mutex> guard(mutex);
        std::copy_if(due.begin(), due.end(), std::back_inserter(missing),
                     [&](const ContentNote& note) { return !has(*kept, note); });
        std::copy_if(kept->begin(), kept->end(), std::back_inserter(due),
                     [&](const ContentNote& note) { return !has(due, note); });
    }
    for (const ContentNote& note : missing)
        queue.keep(note);
}

void ContentStream::Private::run()
{
    std::unique_lock<std::mutex> lock(mutex);
    while (!isStopped) {
        if (due.empty())
            pause = std::chrono::milliseconds(0);
        const auto hasWork = [this] { return isStopped || isWoken; };
        if (due.empty())
            changed.wait(lock, [&] { return hasWork() || !due.empty(); });
        else if (pause.count() > 0)
            changed.wait_for(lock, pause, hasWork);
        if (std::exchange(isWoken, false) && !isStopped) {
            lock.unlock();
            addKept();
            lock.lock();
        }
        if (isStopped || due.empty())
            continue;
        const ContentNote note = due.front();
        lock.unlock();
        const ContentSender::Result result = sender.send(note, isStopped);
        if (!isStopped)
            end(note, result);
        lock.lock();
    }
}

void ContentStream::Private::end(const ContentNote& note, const ContentSender::Result& result)
{
    const std::string name = note.name.toStdString();
    const std::string reason = result.reason.toStdString();
    if (result.outcome == ContentSender::Outcome::Later)
        warnings.log("Content waits until the media server takes it", name + ": " + reason);
    if (result.outcome == ContentSender::Outcome::Refused)
        Bedrock::Trace::warning("ContentStream # \"%s\" does not go to the media server (%s)", name.c_str(), reason.c_str());
    if (result.outcome == ContentSender::Outcome::NotWanted)
        Bedrock::Trace::info("ContentStream # \"%s\" is not sent (%s)", name.c_str(), reason.c_str());

    const bool isLater = result.outcome == ContentSender::Outcome::Later;
    if (!isLater)
        queue.remove(note);
    const std::lock_guard<std::mutex> guard(mutex);
    const auto found = std::find_if(due.begin(), due.end(), [&](const ContentNote& each) { return isSame(each, note); });
    due.erase(found);
    if (isLater)
        due.push_back(note); // another one may fare better
    const auto longer = std::max(settings.firstPause, std::min(pause * 2, settings.longestPause));
    pause = isLater ? longer : std::chrono::milliseconds(0);
}

ContentStream::ContentStream(const Settings& settings) : d(std::make_unique<Private>(settings))
{
    // Ahead of every describe(): what is only described must not become due here.
    d->reader.add([this] {
        d->addKept();
        d->changed.notify_all();
    });
    d->sending = std::thread([this] { Bedrock::guarded("ContentStream # Sending has ended", [this] { d->run(); }); });
}

ContentStream::~ContentStream()
{
    {
        const std::lock_guard<std::mutex> guard(d->mutex);
        d->isStopped = true;
    }
    d->changed.notify_all();
    d->reader.shutdown();
    d->sending.join();
}

void ContentStream::describe(const QString& path, Described described)
{
    d->reader.add([this, path, described = std::move(described)] {
        const auto note = d->describe(path);
        if (note)
            d->queue.keep(*note);
        described(note);
    });
}

void ContentStream::send(const ContentNote& note)
{
    {
        const std::lock_guard<std::mutex> guard(d->mutex);
        if (!has(d->due, note))
            d->due.push_back(note);
        d->isWoken = true;
    }
    d->changed.notify_all();
}

void ContentStream::forget(const ContentNote& note)
{
    d->reader.add([this, note] {
        {
            const std::lock_guard<std::mutex> guard(d->mutex);
            if (has(d->due, note))
                return;
        }
        d->queue.remove(note);
    });
}
}
