#pragma once

#include "picture/ImageCache.hpp"

#include <Bedrock/WorkerPool.hpp>

#include <functional>
#include <memory>
#include <unordered_map>
#include <vector>

namespace Trellis
{
/// Reads pictures on worker threads, each one once at a time, and shares what was read. One for the process, main thread
/// only; results come in the input step of a frame.
///
/// A picture that is in the cache is given at once; its file is checked all the same, and read again if it has changed.
class ImageLoader
{
public:
    using Picture = ImageCache::Entry; ///< with a null image: could not be read
    using Done = std::function<void(const Picture&)>;

    [[nodiscard]] static ImageLoader& instance();

    /// The picture in the cache, or null. The file is checked on a worker thread, and `done` is called once if the result differs
    /// from what was returned. A file that cannot be read is one warning, however often it is requested.
    [[nodiscard]] const Picture* request(const ImageKey& key, Done done);
    /// Reads in this call. For tools.
    [[nodiscard]] Picture readNow(const ImageKey& key);

    /// Checks of files under way, and requests announced with `announce`.
    [[nodiscard]] int pending() const noexcept { return int(m_jobs.size()) + *m_announced; }
    /// Something that will become a request in the next frame counts as pending as long as the token lives.
    [[nodiscard]] std::shared_ptr<void> announce();
    /// Ends all reading, without results, and empties the cache. Waits for the files being read at the moment.
    /// The loader can be used again afterwards.
    void shutDown();

    [[nodiscard]] ImageCache& cache() noexcept { return m_cache; }
    /// Files read since the process began, decoded or kept.
    [[nodiscard]] long filesRead() const noexcept { return m_filesRead; }

    ImageLoader(const ImageLoader&) = delete;
    ImageLoader& operator=(const ImageLoader&) = delete;

private:
    struct Waiter
    {
        Done done;
        bool hasKnown; ///< was given the cached picture
    };
    struct Job
    {
        ImageKey key;
        Picture known; ///< the cached picture when the job began, or a null one
        std::vector<Waiter> waiters;
    };
    struct Outcome
    {
        bool isUnchanged = false;
        qint64 modifiedMs = 0;
        ReadImage read;
    };

    ImageLoader();
    ~ImageLoader();
    /// Any thread.
    static Outcome readIfChanged(const ImageKey& key, qint64 knownModifiedMs);
    void finished(long job, const Outcome& outcome);
    /// Puts the outcome into the cache; warns once of a file that cannot be read.
    Picture store(const ImageKey& key, const Outcome& outcome);

    ImageCache m_cache;
    std::unordered_map<ImageKey, long, ImageKeyHash> m_jobOfKey;
    std::unordered_map<long, Job> m_jobs;
    std::unordered_map<QString, qint64> m_failed; ///< warned of, with the file's time
    std::shared_ptr<int> m_announced = std::make_shared<int>(0);
    long m_lastJob = 0;
    long m_filesRead = 0;
    Bedrock::WorkerPool m_pool; ///< last member: its threads end first
};
}
