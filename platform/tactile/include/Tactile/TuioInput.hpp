#pragma once

#include <Tactile/ContactTracker.hpp>
#include <Tactile/InputSource.hpp>
#include <Tactile/TuioCounters.hpp>
#include <Vecta/Rect.hpp>

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

namespace Tactile
{
class DatagramRecorder;
class DatagramSource;

struct TuioSettings
{
    Vecta::Rect tableRect{0.f, 0.f, 1920.f, 1080.f}; ///< scene pixels that 0..1 of a surface map to
    TrackerSettings tracker;                         ///< hold, ghosts, lost senders, smoothing
};

/// The TUIO table: takes datagrams from any number of sources, each with its own part of the table.
///
///     TuioInput input({{0, 0, 3840, 2160}, {}});
///     if (!input.addSource(std::make_unique<UdpDatagramSource>(NetworkSettings{})))
///         … input.errorText() …
///     input.takeSample(now, sample); // once a frame
///
/// Datagrams are decoded on the thread they arrive on; takeSample takes the outcome under a short lock. Frames lost,
/// doubled or damaged on the way never show as half a state. Main thread except where it says otherwise.
class TAVOLA_EXPORT TuioInput final : public InputSource
{
public:
    explicit TuioInput(const TuioSettings& settings = {});
    ~TuioInput() override;

    /// Tells `recorder` everything from now on; before a source is added or a sample is taken. Not owned, and it outlives
    /// this input.
    void setRecorder(DatagramRecorder* recorder);

    /// Starts `source`, mapped to the settings' rectangle or to `tableRect`. When it does not start it is not kept, and
    /// errorText() says why.
    [[nodiscard]] bool addSource(std::unique_ptr<DatagramSource> source);
    [[nodiscard]] bool addSource(std::unique_ptr<DatagramSource> source, const Vecta::Rect& tableRect);
    [[nodiscard]] const std::string& errorText() const noexcept;

    /// The `index`th source added maps to `tableRect` from the next position it sends on.
    void setTableRect(std::size_t index, const Vecta::Rect& tableRect);

    void takeSample(double nowSeconds, Sample& sample) override;

    /// A copy of the counts up to now. Any thread.
    [[nodiscard]] TuioCounters counters() const;

    /// Datagrams decoded since the beginning, good or bad; their outcome is in the next sample. Any thread.
    [[nodiscard]] std::uint64_t datagramsReceived() const;
    /// For tests and tools that crank frames by hand: blocks until datagramsReceived() is at least `count`. False after
    /// `timeout`. Never to be called by a running table.
    [[nodiscard]] bool waitForDatagrams(std::uint64_t count, std::chrono::milliseconds timeout) const;

private:
    struct Private;
    std::unique_ptr<Private> d;
};
}
