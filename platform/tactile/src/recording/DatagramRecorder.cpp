#include <Tactile/DatagramRecorder.hpp>

#include "recording/RecordFile.hpp"

#include <Tactile/DatagramSource.hpp>
#include <Tactile/SurfaceArea.hpp>
#include <Tactile/TuioInput.hpp>

#include <unistd.h>

#include <chrono>
#include <limits>
#include <mutex>
#include <random>
#include <utility>
#include <vector>

namespace Tactile
{
namespace
{
/// Names a recording, so that a replay refuses the private half of another one. No secret.
std::string newId()
{
    std::random_device random;
    std::string id;
    while (id.size() < Recording::kIdCharacters)
        id += "0123456789abcdef"[random() % 16];
    return id;
}

auto writing(const std::string& text)
{
    return [&text](Recording::Writer& w) { w.addBytes(text.data(), text.size()); };
}

auto writing(const Bedrock::Arrival& arrival, std::uint8_t flag = 0)
{
    return [&arrival, flag](Recording::Writer& w) {
        w.add64(arrival.job);
        w.add16(arrival.part);
        w.add8(static_cast<std::uint8_t>(arrival.kind));
        w.add8(std::uint8_t(static_cast<std::uint8_t>(arrival.content) | flag));
        w.addBytes(arrival.bytes.constData(), std::size_t(arrival.bytes.size()));
    };
}
}

struct DatagramRecorder::Private
{
    std::unique_ptr<Recording::RecordFile> recording;
    std::unique_ptr<Recording::RecordFile> privateHalf;
    Clock clock;
    double start = 0.0;

    std::mutex mutex; ///< locked until a record is added: records stand in the order of the calls, in both files
    // Guarded by mutex.
    std::uint64_t frames = 0;
    double step = std::numeric_limits<double>::quiet_NaN();
    double lastNow = 0.0;
};

DatagramRecorder::DatagramRecorder() : d(std::make_unique<Private>()) {}
DatagramRecorder::~DatagramRecorder() = default;

std::unique_ptr<DatagramRecorder> DatagramRecorder::create(const std::string& file, std::string& error, Clock clock)
{
    std::unique_ptr<DatagramRecorder> recorder(new DatagramRecorder());
    Private& d = *recorder->d;
    d.clock = clock ? std::move(clock)
                    : [] { return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count(); };
    d.start = d.clock();
    const std::string id = newId() + '\n';
    d.recording = Recording::RecordFile::create(file, std::string(Recording::kFirstWords) + id, error);
    if (!d.recording)
        return nullptr;
    d.privateHalf = Recording::RecordFile::create(file + kPrivateSuffix, std::string(Recording::kPrivateFirstWords) + id, error);
    if (d.privateHalf)
        return recorder;
    d.recording.reset();
    ::unlink(file.c_str()); // made above, and of no use
    return nullptr;
}

void DatagramRecorder::note(const std::string& text)
{
    const std::lock_guard<std::mutex> lock(d->mutex);
    d->recording->add(Recording::Note, writing(text));
}

void DatagramRecorder::note(const std::string& exact, const std::string& shortened)
{
    const std::lock_guard<std::mutex> lock(d->mutex);
    d->privateHalf->add(Recording::Note, writing(exact));
    d->recording->add(Recording::Note, writing(shortened));
}

void DatagramRecorder::frameBegins(double dtSeconds)
{
    const std::lock_guard<std::mutex> lock(d->mutex);
    d->step = dtSeconds;
}

void DatagramRecorder::settings(const TuioSettings& settings)
{
    const std::lock_guard<std::mutex> lock(d->mutex);
    d->recording->add(Recording::Settings, [&settings](Recording::Writer& w) {
        const TrackerSettings& t = settings.tracker;
        const Vecta::Rect& r = settings.tableRect;
        for (const float value : {r.x, r.y, r.width, r.height, t.pixelPitchMm})
            w.addFloat(value);
        w.addDouble(t.holdSeconds);
        w.addFloat(t.holdDistanceMm);
        w.addFloat(t.markerOutlineRadiusMm);
        w.addDouble(t.lostSenderSeconds);
        w.add8(t.smoothing ? 1 : 0);
        for (const OneEuroSettings& f : {t.positionFilter, t.rotationFilter})
            for (const float value : {f.minCutoffHz, f.beta, f.derivativeCutoffHz})
                w.addFloat(value);
        w.addFloat(t.quietDistancePx);
        w.addFloat(t.quietRadians);
    });
}

void DatagramRecorder::listener(std::uint16_t index, const Vecta::Rect& tableRect)
{
    const std::lock_guard<std::mutex> lock(d->mutex);
    d->recording->add(Recording::Listener, [index, &tableRect](Recording::Writer& w) {
        w.add16(index);
        for (const float value : {tableRect.x, tableRect.y, tableRect.width, tableRect.height})
            w.addFloat(value);
    });
}

void DatagramRecorder::ignoredAreas(std::uint16_t index, const std::vector<SurfaceArea>& areas)
{
    const std::lock_guard<std::mutex> lock(d->mutex);
    d->recording->add(Recording::IgnoredAreas, [index, &areas](Recording::Writer& w) {
        w.add16(index);
        for (const SurfaceArea& area : areas) {
            w.add16(static_cast<std::uint16_t>(area.corners.size()));
            for (const Vecta::Vector2f& corner : area.corners) {
                w.addFloat(corner.x);
                w.addFloat(corner.y);
            }
        }
    });
}

void DatagramRecorder::datagram(std::uint16_t listener, const Datagram& datagram)
{
    const std::lock_guard<std::mutex> lock(d->mutex);
    d->recording->add(Recording::DatagramKind, [this, listener, &datagram](Recording::Writer& w) {
        w.add16(listener);
        w.addDouble(d->clock() - d->start);
        w.addBytes(datagram.sender.bytes.data(), datagram.sender.bytes.size());
        w.add16(datagram.sender.port);
        w.addBytes(datagram.data, datagram.size);
    });
}

void DatagramRecorder::arrival(const Bedrock::Arrival& arrival)
{
    const std::lock_guard<std::mutex> lock(d->mutex);
    d->recording->add(Recording::ArrivalKind, writing(arrival));
}

void DatagramRecorder::arrival(const Bedrock::Arrival& exact, const Bedrock::Arrival& shortened)
{
    const std::lock_guard<std::mutex> lock(d->mutex);
    d->privateHalf->add(Recording::ArrivalKind, writing(exact));
    d->recording->add(Recording::ArrivalKind, writing(shortened, Recording::kHasExactAnswer));
}

void DatagramRecorder::frameTaken(double nowSeconds)
{
    {
        const std::lock_guard<std::mutex> lock(d->mutex);
        const double step = d->step == d->step ? d->step : nowSeconds - d->lastNow;
        d->step = std::numeric_limits<double>::quiet_NaN();
        d->lastNow = nowSeconds;
        ++d->frames;
        d->recording->add(Recording::FrameKind, [this, step](Recording::Writer& w) {
            w.add64(d->frames);
            w.addDouble(step);
        });
    }
    d->privateHalf->flush();
    d->recording->flush();
}
}
