#pragma once

#include <Bedrock/Arrival.hpp>
#include <Tactile/TuioInput.hpp>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Tactile
{
/// Plays the recording of a DatagramRecorder into a TuioInput, through the same decoder as on the day:
///
///     auto player = DatagramPlayer::open("evening.rec", error);
///     TuioInput input(player->settings());
///     while (const auto frame = player->nextFrame(input))
///         input.readSample(now += frame->dtSeconds, sample);
///
/// The file is read as it plays. Main thread only.
class TAVOLA_EXPORT DatagramPlayer
{
public:
    struct Frame
    {
        std::uint64_t number = 0; ///< 1 for the first
        double dtSeconds = 0.0;
        std::vector<Bedrock::Arrival> arrivals; ///< what the frame took from the inbox, in this order
    };

    /// Null, with the reason in `error`, for a file that cannot be read or is no recording of this version.
    [[nodiscard]] static std::unique_ptr<DatagramPlayer> open(const std::string& file, std::string& error);
    ~DatagramPlayer();
    DatagramPlayer(const DatagramPlayer&) = delete;
    DatagramPlayer& operator=(const DatagramPlayer&) = delete;

    /// What the recorded table's input was set to. An input must have the same for the same outcome.
    [[nodiscard]] const TuioSettings& settings() const noexcept;

    /// The recorder's note, exact where the private half has it; empty without one.
    [[nodiscard]] const std::string& note() const noexcept;

    /// Why the private half of the recording (see DatagramRecorder) is not used, so that the note and answers are shortened;
    /// empty when it is.
    [[nodiscard]] const std::string& whyShortened() const noexcept;

    /// Gives `input`, always the same one, the listeners and datagrams of the next frame; the caller then runs that frame.
    /// Nothing after the last whole frame; a recording that is cut off or damaged there is a warning in the log, and so is a
    /// private half that ends before the recording.
    [[nodiscard]] std::optional<Frame> nextFrame(TuioInput& input);

private:
    DatagramPlayer();
    struct Private;
    std::unique_ptr<Private> d;
};
}
