#pragma once

#include <Bedrock/Export.hpp>

#include <functional>
#include <memory>

namespace Lantern
{
/// The threads among which large areas are shared when pictures are put together in memory. What a thread computes does not
/// depend on their number. At most one object at a time; without one, the main thread draws alone.
class TAVOLA_EXPORT PaintingThreads
{
public:
    static constexpr int kMost = 16;
    /// Below that, threads take longer to begin than to draw.
    static constexpr int kUsualLeastPixels = 100'000;

    /// `count` (1..kMost, others are brought into that range) includes the main thread, which draws less than `leastPixels`
    /// alone. Main thread only, as the destructor, which ends the threads.
    explicit PaintingThreads(int count, int leastPixels = kUsualLeastPixels);
    ~PaintingThreads();
    PaintingThreads(const PaintingThreads&) = delete;
    PaintingThreads& operator=(const PaintingThreads&) = delete;

    /// Null while there is none.
    [[nodiscard]] static PaintingThreads* current() noexcept;
    /// One for each core, at most four.
    [[nodiscard]] static int usualCount();
    [[nodiscard]] int count() const noexcept;
    [[nodiscard]] int leastPixels() const noexcept;
    struct Activity
    {
        /// Threads that wait without running: those without work, and the main thread while it waits for the last parts.
        int asleep = 0;
        /// How often another thread stopped to sleep, since the object was made.
        long wakeUps = 0;
        /// How often another thread began to wait for work without sleeping, since the object was made.
        long activeWaits = 0;
    };
    /// Any thread.
    [[nodiscard]] Activity activity() const noexcept;

    /// A call of `run` may follow soon: where the frame before this one had one, the other threads wake up now, and wait for it
    /// for at most kActiveWaitMs without going to sleep. To be called once a frame, a little before drawing. Where frames follow
    /// each other in equal times, the threads have woken up by themselves before. Main thread only.
    void prepare();
    static constexpr double kActiveWaitMs = 0.5;

    /// Calls `part` with 0 .. parts-1, each once, on any of the threads in any order, and returns when all have returned. As far
    /// as the threads keep pace, each calls neighbouring parts, the same ones in each call with as many parts. `part` must
    /// neither throw nor call `run`. Where `prepare` woke the other threads for this frame, they stay awake for kActiveWaitMs
    /// then, for the next call; a picture now and then, such as the inspector's, is not worth that. Main thread only.
    void run(int parts, const std::function<void(int)>& part);

private:
    struct Private;
    std::unique_ptr<Private> d;
};
}
