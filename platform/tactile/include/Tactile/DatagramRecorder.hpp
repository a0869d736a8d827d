#pragma once

#include <Bedrock/Arrival.hpp>
#include <Bedrock/Export.hpp>
#include <Tactile/InputRecorder.hpp>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace Tactile
{
/// Writes raw datagrams and the frames that took them to a file, from which a DatagramPlayer gives the same input frame by
/// frame. Given to a TuioInput before anything else is done with it:
///
///     auto recorder = DatagramRecorder::create("evening.rec", error);
///     input.setRecorder(recorder.get());
///     … each frame: recorder->frameBegins(dt); input.readSample(now, sample);
///
/// What must not be read by everyone who gets the recording, such as names, is kept in its private half: a file beside it, with
/// ".private" after its name. The recording itself has shortened words in their places and can be replayed without it.
///
/// Threads of its own do the writing, so that a slow disk delays no frame. The files grow record by record: what a
/// crash leaves can be replayed up to the last whole record. When the disk is full or too slow the recording ends there,
/// with an error in the log, and the table goes on. All functions: any thread.
class TAVOLA_EXPORT DatagramRecorder final : public InputRecorder
{
public:
    /// Seconds from any beginning, growing; for the arrival times of datagrams, which a replay does not use.
    using Clock = std::function<double()>;

    /// What follows the recording's name in that of its private half.
    static constexpr const char* kPrivateSuffix = ".private";

    /// Null, with the reason in `error`, when one of the two files cannot be made. A file that exists is not touched.
    [[nodiscard]] static std::unique_ptr<DatagramRecorder> create(const std::string& file, std::string& error, Clock clock = {});
    /// Writes what is left, and waits until it is on the disk.
    ~DatagramRecorder() override;
    DatagramRecorder(const DatagramRecorder&) = delete;
    DatagramRecorder& operator=(const DatagramRecorder&) = delete;

    /// Keeps a text about the table, such as its presentation, for the replay. Before the input is given this recorder.
    void note(const std::string& text);
    /// The same where the exact text is private: the recording has the shortened one.
    void note(const std::string& exact, const std::string& shortened);
    /// The frame to come has this time step, exactly. Without it the step is the difference of the frames' times.
    void frameBegins(double dtSeconds);

    /// The frame under way took this result from the inbox.
    void arrival(const Bedrock::Arrival& arrival);
    /// The same where the exact answer is private: the recording has the shortened one, of the same job, part and kind.
    void arrival(const Bedrock::Arrival& exact, const Bedrock::Arrival& shortened);

    void settings(const TuioSettings& settings) override;
    void listener(std::uint16_t index, const Vecta::Rect& tableRect) override;
    void ignoredAreas(std::uint16_t index, const std::vector<SurfaceArea>& areas) override;
    void datagram(std::uint16_t listener, const Datagram& datagram) override;
    void frameTaken(double nowSeconds) override;

private:
    DatagramRecorder();
    struct Private;
    std::unique_ptr<Private> d;
};
}
