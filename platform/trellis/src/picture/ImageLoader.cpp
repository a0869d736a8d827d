#include "picture/ImageLoader.hpp"

#include "picture/KeptImage.hpp"

#include <Bedrock/Inbox.hpp>
#include <Bedrock/Trace.hpp>
#include <Cascara/StyleEngine.hpp>

#include <QDateTime>
#include <QFileInfo>
#include <QThread>

#include <algorithm>

namespace Trellis
{
namespace
{
constexpr qint64 kCacheBytes = 256ll * 1024 * 1024;
/// A file that is not there has no time; no file has this one.
constexpr qint64 kUnknownTime = -1;

/// One core stays for the table.
int threadCount()
{
    return std::clamp(QThread::idealThreadCount() - 1, 1, 4);
}
}

ImageLoader& ImageLoader::instance()
{
    static ImageLoader loader;
    return loader;
}

ImageLoader::ImageLoader() : m_cache(kCacheBytes), m_pool(threadCount())
{
    // Used to the end by the loader's threads: made first, it goes last.
    (void)Bedrock::Inbox::instance();
}

ImageLoader::~ImageLoader() = default;

const ImageLoader::Picture* ImageLoader::request(const ImageKey& key, Done done)
{
    const Picture* known = m_cache.find(key);
    const auto running = m_jobOfKey.find(key);
    if (running != m_jobOfKey.end()) {
        m_jobs[running->second].waiters.push_back({std::move(done), known != nullptr});
        return known;
    }
    const long job = ++m_lastJob;
    m_jobOfKey[key] = job;
    Job& entry = m_jobs[job];
    entry.key = key;
    if (known)
        entry.known = *known;
    entry.waiters.push_back({std::move(done), known != nullptr});
    const qint64 knownTime = known ? known->modifiedMs : kUnknownTime;
    m_pool.run('i', [this, key, job, knownTime] {
        return [this, job, outcome = readIfChanged(key, knownTime)] { finished(job, outcome); };
    });
    return known;
}

ImageLoader::Picture ImageLoader::readNow(const ImageKey& key)
{
    const Picture* known = m_cache.find(key);
    const Outcome outcome = readIfChanged(key, known ? known->modifiedMs : kUnknownTime);
    return outcome.isUnchanged ? *known : store(key, outcome);
}

std::shared_ptr<void> ImageLoader::announce()
{
    ++*m_announced;
    return std::shared_ptr<char>(new char, [count = m_announced](char* token) {
        --*count;
        delete token;
    });
}

void ImageLoader::shutDown()
{
    m_pool.dropWaiting();
    m_pool.waitUntilIdle();
    // Results that wait in the inbox find no job any more.
    m_jobs.clear();
    m_jobOfKey.clear();
    m_failed.clear();
    m_cache.clear();
}

ImageLoader::Outcome ImageLoader::readIfChanged(const ImageKey& key, qint64 knownModifiedMs)
{
    Outcome outcome;
    const QFileInfo info(key.path);
    outcome.modifiedMs = info.exists() ? info.lastModified().toMSecsSinceEpoch() : kUnknownTime;
    outcome.isUnchanged = knownModifiedMs != kUnknownTime && outcome.modifiedMs == knownModifiedMs;
    if (!outcome.isUnchanged)
        outcome.read = readKeptImage(key.path, key.size);
    return outcome;
}

ImageLoader::Picture ImageLoader::store(const ImageKey& key, const Outcome& outcome)
{
    ++m_filesRead;
    Picture picture{outcome.read.image, outcome.read.fullSize, outcome.modifiedMs};
    if (!picture.image.isNull()) {
        m_failed.erase(key.path);
        m_cache.insert(key, picture);
        return picture;
    }
    const auto [failure, isNew] = m_failed.emplace(key.path, outcome.modifiedMs);
    if (isNew || failure->second != outcome.modifiedMs) {
        failure->second = outcome.modifiedMs;
        const QString place = Cascara::StyleEngine::instance().placeOfFile(key.path);
        const QString named = place.isEmpty() ? QString() : QStringLiteral("; named in ") + place;
        Bedrock::Trace::warning("ImageWidget # Failed to load image %s (%s%s)", qUtf8Printable(key.path),
                                qUtf8Printable(outcome.read.error), qUtf8Printable(named));
    }
    return picture;
}

void ImageLoader::finished(long job, const Outcome& outcome)
{
    const auto found = m_jobs.find(job);
    if (found == m_jobs.end())
        return;
    const Job ended = std::move(found->second);
    m_jobs.erase(found);
    m_jobOfKey.erase(ended.key);
    const Picture picture = outcome.isUnchanged ? ended.known : store(ended.key, outcome);
    for (const Waiter& waiter : ended.waiters)
        if (!outcome.isUnchanged || !waiter.hasKnown)
            waiter.done(picture);
}
}
