#include <Tactile/DatagramPlayer.hpp>

#include "recording/RecordReader.hpp"
#include "recording/RecordingFormat.hpp"

#include <Bedrock/Trace.hpp>
#include <Tactile/DatagramRecorder.hpp>
#include <Tactile/RecordedDatagramSource.hpp>

#include <cmath>
#include <filesystem>
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
    using Outcome = Recording::RecordReader::Outcome;

    std::string file;
    Recording::RecordReader records;
    std::string note;
    TuioSettings settings;
    std::vector<RecordedDatagramSource*> sources; // owned by the input
    std::vector<std::vector<char>> waiting;       // bodies ahead of the frame that takes them
    std::size_t waitingCount = 0;
    std::uint64_t lastFrame = 0;
    bool isOver = false;
    std::optional<Recording::RecordReader> privateHalf; ///< as long as it has what the recording wants of it
    std::string whyShortened;

    void openPrivateHalf()
    {
        const std::string name = file + DatagramRecorder::kPrivateSuffix;
        std::error_code none;
        if (!std::filesystem::exists(name, none)) {
            whyShortened = name + " is not there";
            return;
        }
        if (!privateHalf.emplace().open(name, Recording::kPrivateFirstWords, whyShortened)) {
            privateHalf.reset();
            return;
        }
        if (privateHalf->id() != records.id())
            whyShortened = name + " belongs to another recording";
        else if (privateHalf->next() != Outcome::Record || privateHalf->body().front() != Recording::Note)
            whyShortened = name + " is cut off or damaged";
        if (whyShortened.empty())
            note.assign(privateHalf->body().data() + 1, privateHalf->body().size() - 1);
        else
            privateHalf.reset();
    }

    /// The answer itself in place of the shortened one.
    void takeExact(Bedrock::Arrival& arrival)
    {
        if (!privateHalf)
            return;
        Bedrock::Arrival exact;
        const bool isRead = privateHalf->next() == Outcome::Record && privateHalf->body().front() == Recording::ArrivalKind
            && readArrival(Recording::Reader(privateHalf->body().data() + 1, privateHalf->body().size() - 1), exact)
            && exact.job == arrival.job && exact.part == arrival.part && exact.kind == arrival.kind;
        if (isRead) {
            arrival = exact;
            return;
        }
        Bedrock::Trace::warning("DatagramPlayer # %s%s is cut off or damaged at byte %llu; names and answers of servers are "
                                "shortened in the replay from frame %llu on",
                                file.c_str(), DatagramRecorder::kPrivateSuffix,
                                static_cast<unsigned long long>(privateHalf->place()),
                                static_cast<unsigned long long>(lastFrame + 1));
        privateHalf.reset();
    }

    /// One of the recording; an answer that is private comes from the private half.
    bool readArrivalOfFrame(const Recording::Reader& reader, Bedrock::Arrival& arrival)
    {
        bool hasExact = false;
        if (!readArrival(reader, arrival, &hasExact))
            return false;
        if (hasExact)
            takeExact(arrival);
        return true;
    }

    static bool readArrival(Recording::Reader reader, Bedrock::Arrival& arrival, bool* hasExact = nullptr)
    {
        using Content = Bedrock::Arrival::Content;
        arrival.job = reader.read64();
        arrival.part = reader.read16();
        arrival.kind = static_cast<char>(reader.read8());
        std::uint8_t content = reader.read8();
        if (hasExact && (content & Recording::kHasExactAnswer)) {
            *hasExact = true;
            content = std::uint8_t(content & ~Recording::kHasExactAnswer);
        }
        arrival.content = Content{content};
        if (arrival.content == Content::Bytes)
            arrival.bytes = QByteArray(reader.rest(), int(reader.left()));
        return reader.isGood() && arrival.job != 0 && content <= std::uint8_t(Content::Nothing);
    }

    void keep()
    {
        if (waitingCount == waiting.size())
            waiting.emplace_back();
        waiting[waitingCount++] = records.body();
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
                                file.c_str(), static_cast<unsigned long long>(records.place()),
                                static_cast<unsigned long long>(lastFrame));
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
    if (!d.records.open(file, Recording::kFirstWords, error))
        return nullptr;
    bool isRead = d.records.next() == Private::Outcome::Record;
    if (isRead && d.records.body().front() == Recording::Note) {
        d.note.assign(d.records.body().data() + 1, d.records.body().size() - 1);
        isRead = d.records.next() == Private::Outcome::Record;
    }
    if (!isRead || d.records.body().front() != Recording::Settings) {
        error = "DatagramPlayer # Failed to read " + file + " (it ends before its first frame); record anew";
        return nullptr;
    }
    Recording::Reader reader(d.records.body().data() + 1, d.records.body().size() - 1);
    d.settings = readSettings(reader);
    if (!reader.isGood()) {
        error = "DatagramPlayer # Failed to read " + file + " (its settings are damaged); record anew";
        return nullptr;
    }
    d.openPrivateHalf();
    return player;
}

const std::string& DatagramPlayer::note() const noexcept
{
    return d->note;
}

const std::string& DatagramPlayer::whyShortened() const noexcept
{
    return d->whyShortened;
}

const TuioSettings& DatagramPlayer::settings() const noexcept
{
    return d->settings;
}

std::optional<DatagramPlayer::Frame> DatagramPlayer::nextFrame(TuioInput& input)
{
    Frame frame;
    while (!d->isOver) {
        const Private::Outcome outcome = d->records.next();
        if (outcome == Private::Outcome::Damage)
            return d->endsDamaged();
        if (outcome == Private::Outcome::End) {
            d->isOver = true;
            break;
        }
        const std::vector<char>& body = d->records.body();
        const char kind = body.front();
        if (kind == Recording::Listener || kind == Recording::IgnoredAreas || kind == Recording::DatagramKind)
            d->keep();
        Recording::Reader reader(body.data() + 1, body.size() - 1);
        if (kind == Recording::ArrivalKind && !d->readArrivalOfFrame(reader, frame.arrivals.emplace_back()))
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
