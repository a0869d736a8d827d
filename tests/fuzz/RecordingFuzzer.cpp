// One input is a recording. With an even first byte the rest is the file after its first line, as it is. With an odd one it is a
// run of bodies, each after its size in two bytes, big end first, which get the check sums that a random change would spoil;
// settings as a table has them stand ahead of them.

#include "FuzzSupport.hpp"

#include "recording/RecordingFormat.hpp"

#include <Tactile/DatagramPlayer.hpp>
#include <Tactile/Sample.hpp>
#include <Tactile/TuioInput.hpp>

#include <algorithm>
#include <cmath>
#include <string>

namespace
{
namespace Recording = Tactile::Recording;

/// Settings as DatagramRecorder writes them.
void addSettings(Recording::Writer& writer)
{
    writer.begin(Recording::Settings);
    for (const float value : {0.f, 0.f, 1920.f, 1080.f, 0.5f})
        writer.addFloat(value);
    writer.addDouble(0.6);
    for (const float value : {20.f, 40.f})
        writer.addFloat(value);
    writer.addDouble(5.0);
    writer.add8(1);
    for (int filter = 0; filter < 2; ++filter)
        for (const float value : {1.f, 0.01f, 1.f})
            writer.addFloat(value);
    for (const float value : {0.5f, 0.01f})
        writer.addFloat(value);
    writer.end();
}

std::vector<char> recordingOf(const std::uint8_t* data, std::size_t size)
{
    const std::string firstLine = std::string(Recording::kFirstWords) + std::string(Recording::kIdCharacters, 'a') + '\n';
    std::vector<char> bytes(firstLine.begin(), firstLine.end());
    if (size == 0 || data[0] % 2 == 0) {
        if (size > 0)
            bytes.insert(bytes.end(), data + 1, data + size);
        return bytes;
    }
    Recording::Writer writer(bytes);
    addSettings(writer);
    for (std::size_t at = 1; at + 3 <= size;) {
        const std::size_t wanted = std::size_t(data[at]) * 256 + data[at + 1];
        const std::size_t taken = std::min(wanted, size - at - 3);
        writer.begin(static_cast<Recording::Kind>(data[at + 2]));
        writer.addBytes(data + at + 3, taken);
        writer.end();
        at += 3 + taken;
    }
    return bytes;
}
}

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    Fuzz::dropMessages();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const Fuzz::MemoryFile file;
    const std::vector<char> recording = recordingOf(data, size);
    file.write(recording.data(), recording.size());

    std::string error;
    const auto player = Tactile::DatagramPlayer::open(file.path(), error);
    Fuzz::require((player == nullptr) == !error.empty(), "a recording is opened, or there is a reason");
    if (!player)
        return 0;
    Tactile::TuioInput input(player->settings());
    Tactile::Sample sample;
    double now = 0.0;
    std::uint64_t frames = 0;
    while (const auto frame = player->nextFrame(input)) {
        Fuzz::require(frame->number == ++frames, "frames follow one another");
        Fuzz::require(std::abs(frame->dtSeconds) <= 86400.0, "a step is at most a day");
        for (const Bedrock::Arrival& arrival : frame->arrivals)
            Fuzz::require(arrival.job != 0, "a result has its job");
        input.readSample(now += std::max(0.0, frame->dtSeconds), sample);
    }
    Fuzz::require(!player->nextFrame(input), "nothing comes after the end");
    return 0;
}
