#pragma once

#include <Tactile/ContactTracker.hpp>
#include <Tactile/InputSource.hpp>
#include <Tactile/SurfaceArea.hpp>
#include <Tactile/TuioCounters.hpp>
#include <Vecta/Rect.hpp>

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace Tactile
{
class DatagramSource;
class InputRecorder;

struct TuioSettings
{
    Vecta::Rect tableRect{0.f, 0.f, 1920.f, 1080.f}; ///< scene pixels that 0..1 of a surface map to
    TrackerSettings tracker;                         ///< hold, ghosts, lost senders, smoothing
};

/// The table's TUIO input: decodes the datagrams of any number of sources, each mapped to its own part of the table.
///
///     TuioInput input({{0, 0, 3840, 2160}, {}});
///     if (!input.addSource(std::make_unique<UdpDatagramSource>(NetworkSettings{})))
///         … input.errorText() …
///     input.readSample(now, sample); // once a frame
///
/// Each source receives on an input thread of its own and decodes there, under a lock that readSample shares. Frames that
/// are lost, doubled or damaged on the way never show as half a state. Main thread except where it says otherwise.
class TAVOLA_EXPORT TuioInput final : public InputSource
{
public:
    explicit TuioInput(const TuioSettings& settings = {});
    ~TuioInput() override;

    /// Passes `recorder` everything from now on. Call before a source is added or a sample is taken. Not owned: it must
    /// outlive this input.
    void setRecorder(InputRecorder* recorder);

    /// Starts `source`, mapped to the settings' rectangle or to `tableRect`. False, with the reason in errorText(), when it
    /// does not start; it is then destroyed.
    [[nodiscard]] bool addSource(std::unique_ptr<DatagramSource> source);
    [[nodiscard]] bool addSource(std::unique_ptr<DatagramSource> source, const Vecta::Rect& tableRect);
    [[nodiscard]] const std::string& errorText() const noexcept;

    /// Maps the `index`th source to `tableRect`, from the next position it sends on.
    void setTableRect(std::size_t index, const Vecta::Rect& tableRect);

    /// Contacts of the `index`th source that appear in one of `areas` are ignored until they are lifted; see ContactTracker.
    void setIgnoredAreas(std::size_t index, std::vector<SurfaceArea> areas);
    /// The ignored areas of all sources, in scene pixels. Any thread.
    [[nodiscard]] std::vector<SurfaceArea> ignoredAreas() const;

    void readSample(double nowSeconds, Sample& sample) override;

    /// A copy of the counts up to now. Any thread.
    [[nodiscard]] TuioCounters counters() const;

    /// Number of datagrams decoded since the beginning, good or bad; the next sample contains their outcome. Any thread.
    [[nodiscard]] std::uint64_t datagramsReceived() const;
    /// For tests and tools that crank frames by hand: blocks until datagramsReceived() is at least `count`; false after
    /// `timeout`. A running table must not call it.
    [[nodiscard]] bool waitForDatagrams(std::uint64_t count, std::chrono::milliseconds timeout) const;

private:
    struct Private;
    std::unique_ptr<Private> d;
};
}
