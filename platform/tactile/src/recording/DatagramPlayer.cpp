#include <Tactile/DatagramPlayer.hpp>

#include "recording/RecordingFormat.hpp"

#include <Bedrock/Trace.hpp>
#include <Tactile/RecordedDatagramSource.hpp>

#include <cerrno>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <system_error>
#include <utility>
#include <vector>

namespace Tactile
{
namespace
{
/// A record's step is at most this long; a longer one is damage.
constexpr double kLongestStepSeconds = 86400.0;

Vecta::Rect readRect(Recording::Reader& reader)
{
    Vecta::Rect rect;
    rect.x = reader.readFloat();
    rect.y = reader.readFloat();
    rect.width = reader.readFloat();
    rect.height = reader.readFloat();
    return rect;
}

TuioSettings readSettings(Recording::Reader& reader)
{
    TuioSettings settings;
    settings.tableRect = readRect(reader);
    TrackerSettings& t = settings.tracker;
    t.pixelPitchMm = reader.readFloat();
    t.holdSeconds = reader.readDouble();
    t.holdDistanceMm = reader.readFloat();
    t.markerOutlineRadiusMm = reader.readFloat();
    t.lostSenderSeconds = reader.readDouble();
    t.smoothing = reader.read8() != 0;
    for (OneEuroSettings* f : {&t.positionFilter, &t.rotationFilter}) {
        f->minCutoffHz = reader.readFloat();
        f->beta = reader.readFloat();
        f->derivativeCutoffHz = reader.readFloat();
    }
    t.quietDistancePx = reader.readFloat();
    t.quietRadians = reader.readFloat();
    return settings;
}
}

struct DatagramPlayer::Private
{
    std::string file;
    std::ifstream stream;
    std::string note;
    TuioSettings settings;
    std::vector<RecordedDatagramSource*> sources; // owned by the input
    std::vector<char> body;
    std::vector<std::vector<char>> waiting; // bodies ahead of the frame that takes them
    std::size_t waitingCount = 0;
    std::uint64_t place = 0; // in the file, of the record to come
    std::uint64_t lastFrame = 0;
    bool isOver = false;

    enum class Outcome { Record, End, Damage };

    Outcome readRecord()
    {
        char head[Recording::kHeadBytes];
        stream.read(head, sizeof head);
        if (stream.gcount() == 0)
            return Outcome::End;
        if (stream.gcount() < static_cast<std::streamsize>(sizeof head))
            return Outcome::Damage;
        Recording::Reader reader(head, sizeof head);
        const std::size_t size = reader.read32();
        const std::uint32_t sum = reader.read32();
        if (size == 0 || size > Recording::kMaxBody)
            return Outcome::Damage;
        body.resize(size);
        stream.read(body.data(), static_cast<std::streamsize>(size));
        if (stream.gcount() < static_cast<std::streamsize>(size) || Recording::checkSum(body.data(), size) != sum)
            return Outcome::Damage;
        place += sizeof head + size;
        return Outcome::Record;
    }

    static bool readArrival(Recording::Reader reader, Bedrock::Arrival& arrival)
    {
        using Content = Bedrock::Arrival::Content;
        arrival.job = reader.read64();
        arrival.part = reader.read16();
        arrival.kind = static_cast<char>(reader.read8());
        const std::uint8_t content = reader.read8();
        arrival.content = Content{content};
        if (arrival.content == Content::Bytes)
            arrival.bytes = QByteArray(reader.rest(), int(reader.left()));
        return reader.isGood() && arrival.job != 0 && content <= std::uint8_t(Content::Nothing);
    }

    void keep()
    {
        if (waitingCount == waiting.size())
            waiting.emplace_back();
        waiting[waitingCount++] = body;
    }

    bool playAll(TuioInput& input)
    {
        for (std::size_t i = 0; i < waitingCount; ++i) {
            Recording::Reader reader(waiting[i].data() + 1, waiting[i].size() - 1);
            if (!play(waiting[i].front(), input, reader))
                return false;
        }
        waitingCount = 0;
        return true;
    }

    bool play(char kind, TuioInput& input, Recording::Reader& reader)
    {
        if (kind == Recording::Listener)
            return openListener(input, reader);
        return kind == Recording::IgnoredAreas ? ignoreAreas(input, reader) : playDatagram(reader);
    }

    bool ignoreAreas(TuioInput& input, Recording::Reader& reader) const
    {
        const std::uint16_t index = reader.read16();
        std::vector<SurfaceArea> areas;
        while (reader.isGood() && reader.left() > 0) {
            SurfaceArea& area = areas.emplace_back();
            for (std::uint16_t corners = reader.read16(); corners > 0 && reader.isGood(); --corners) {
                const float x = reader.readFloat();
                area.corners.push_back({x, reader.readFloat()});
            }
        }
        if (!reader.isGood() || index >= sources.size())
            return false;
        input.setIgnoredAreas(index, std::move(areas));
        return true;
    }

    bool openListener(TuioInput& input, Recording::Reader& reader)
    {
        const std::uint16_t index = reader.read16();
        const Vecta::Rect rect = readRect(reader);
        if (!reader.isGood() || index > sources.size() || index >= Recording::kMaxListeners)
            return false;
        if (index < sources.size()) {
            input.setTableRect(index, rect);
            return true;
        }
        auto source = std::make_unique<RecordedDatagramSource>();
        sources.push_back(source.get());
        return input.addSource(std::move(source), rect);
    }

    bool playDatagram(Recording::Reader& reader) const
    {
        const std::uint16_t listener = reader.read16();
        (void)reader.readDouble(); // its time is that of the frame that received it
        Datagram datagram;
        reader.readBytes(datagram.sender.bytes.data(), datagram.sender.bytes.size());
        datagram.sender.port = reader.read16();
        if (!reader.isGood() || listener >= sources.size())
            return false;
        datagram.data = reader.rest();
        datagram.size = reader.left();
        sources[listener]->play(datagram);
        return true;
    }

    std::optional<Frame> endsDamaged()
    {
        isOver = true;
        Bedrock::Trace::warning("DatagramPlayer # The recording %s is cut off or damaged at byte %llu (the recording program "
                                "was ended, or its disk full); played are the %llu frames ahead of it",
                                file.c_str(), static_cast<unsigned long long>(place), static_cast<unsigned long long>(lastFrame));
        return std::nullopt;
    }
};

DatagramPlayer::DatagramPlayer() : d(std::make_unique<Private>()) {}
DatagramPlayer::~DatagramPlayer() = default;

std::unique_ptr<DatagramPlayer> DatagramPlayer::open(const std::string& file, std::string& error)
{
    std::unique_ptr<DatagramPlayer> player(new DatagramPlayer());
    Private& d = *player->d;
    d.file = file;
    // Opening a pipe that has no writer would wait for ever.
    std::error_code none;
    if (const auto status = std::filesystem::status(file, none); std::filesystem::is_other(status)) {
        error = "DatagramPlayer # Failed to read " + file + " (a pipe or a device); save what it gives in a file and name that";
        return nullptr;
    }
    d.stream.open(file, std::ios::binary);
    std::string line;
    if (!d.stream) {
        error = "DatagramPlayer # Failed to read " + file + " (" + std::generic_category().message(errno)
            + "); check its name and rights";
        return nullptr;
    }
    line.resize(Recording::kFirstLine.size());
    d.stream.read(line.data(), static_cast<std::streamsize>(line.size()));
    line.resize(static_cast<std::size_t>(d.stream.gcount()));
    if (line != Recording::kFirstLine) {
        const bool isOther = line.compare(0, Recording::kFirstWord.size(), Recording::kFirstWord) == 0;
        error = "DatagramPlayer # Failed to read " + file
            + (isOther ? " (a recording of another version); replay it with the program that made it"
                       : " (no recording of a table); give a file that \"tavola run --record\" made");
        return nullptr;
    }
    d.place = line.size();
    bool isRead = d.readRecord() == Private::Outcome::Record;
    if (isRead && d.body.front() == Recording::Note) {
        d.note.assign(d.body.data() + 1, d.body.size() - 1);
        isRead = d.readRecord() == Private::Outcome::Record;
    }
    if (!isRead || d.body.front() != Recording::Settings) {
        error = "DatagramPlayer # Failed to read " + file + " (it ends before its first frame); record anew";
        return nullptr;
    }
    Recording::Reader reader(d.body.data() + 1, d.body.size() - 1);
    d.settings = readSettings(reader);
    if (!reader.isGood()) {
        error = "DatagramPlayer # Failed to read " + file + " (its settings are damaged); record anew";
        return nullptr;
    }
    return player;
}

const std::string& DatagramPlayer::note() const noexcept
{
    return d->note;
}

const TuioSettings& DatagramPlayer::settings() const noexcept
{
    return d->settings;
}

std::optional<DatagramPlayer::Frame> DatagramPlayer::nextFrame(TuioInput& input)
{
    Frame frame;
    while (!d->isOver) {
        const Private::Outcome outcome = d->readRecord();
        if (outcome == Private::Outcome::Damage)
            return d->endsDamaged();
        if (outcome == Private::Outcome::End) {
            d->isOver = true;
            break;
        }
        const char kind = d->body.front();
        if (kind == Recording::Listener || kind == Recording::IgnoredAreas || kind == Recording::DatagramKind)
            d->keep();
        Recording::Reader reader(d->body.data() + 1, d->body.size() - 1);
        if (kind == Recording::ArrivalKind && !Private::readArrival(reader, frame.arrivals.emplace_back()))
            return d->endsDamaged();
        if (kind != Recording::FrameKind)
            continue;
        frame.number = reader.read64();
        frame.dtSeconds = reader.readDouble();
        if (!reader.isGood() || !(std::abs(frame.dtSeconds) <= kLongestStepSeconds) || frame.number != d->lastFrame + 1
            || !d->playAll(input))
            return d->endsDamaged();
        d->lastFrame = frame.number;
        return frame;
    }
    return std::nullopt;
}
}
