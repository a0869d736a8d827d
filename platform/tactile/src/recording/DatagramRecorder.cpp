#include <Tactile/DatagramRecorder.hpp>

#include "recording/RecordingFormat.hpp"

#include <Bedrock/Trace.hpp>
#include <Tactile/DatagramSource.hpp>
#include <Tactile/SurfaceArea.hpp>
#include <Tactile/TuioInput.hpp>

#include <fcntl.h>
#include <pthread.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <limits>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace Tactile
{
namespace
{
// Half a minute of a flood of datagrams. A recording with holes would be none.
constexpr std::size_t kMaxWaitingBytes = std::size_t(64) << 20;
constexpr auto kBetweenSyncs = std::chrono::seconds(1);

std::string systemError(int number)
{
    return std::generic_category().message(number);
}

bool writeAll(int descriptor, const char* data, std::size_t size)
{
    while (size > 0) {
        const ssize_t written = ::write(descriptor, data, size);
        if (written < 0 && errno == EINTR)
            continue;
        if (written < 0)
            return false;
        data += written;
        size -= static_cast<std::size_t>(written);
    }
    return true;
}
}

struct DatagramRecorder::Private
{
    std::string file;
    int descriptor = -1;
    Clock clock;
    double start = 0.0;

    std::mutex mutex;
    std::condition_variable wake;
    // Guarded by mutex.
    std::vector<char> waiting;
    bool isEnding = false;
    bool isBroken = false;
    std::uint64_t frames = 0;
    double step = std::numeric_limits<double>::quiet_NaN();
    double lastNow = 0.0;

    std::thread thread;

    /// `write(Writer&)` adds the record's body.
    template <class Write>
    void add(Recording::Kind kind, Write write)
    {
        if (isBroken)
            return;
        if (waiting.size() > kMaxWaitingBytes)
            return stopRecording("the disk is too slow");
        const std::size_t before = waiting.size();
        Recording::Writer writer(waiting);
        writer.begin(kind);
        write(writer);
        if (waiting.size() - before > Recording::kMaxBody)
            return stopRecording("a record is too large");
        writer.end();
    }

    void stopRecording(const std::string& why)
    {
        isBroken = true;
        waiting.clear();
        Bedrock::Trace::error("DatagramRecorder # Failed to write %s (%s); the recording ends here, make room and begin "
                              "another one",
                              file.c_str(), why.c_str());
    }

    void run()
    {
        std::vector<char> writing;
        auto lastSync = std::chrono::steady_clock::now();
        std::unique_lock<std::mutex> lock(mutex);
        for (;;) {
            wake.wait(lock, [this] { return isEnding || !waiting.empty(); });
            if (waiting.empty())
                break;
            writing.swap(waiting);
            lock.unlock();
            bool isWritten = writeAll(descriptor, writing.data(), writing.size());
            const auto now = std::chrono::steady_clock::now();
            if (isWritten && now - lastSync >= kBetweenSyncs) {
                lastSync = now;
                isWritten = ::fdatasync(descriptor) == 0 || errno == EINVAL;
            }
            const int number = errno;
            writing.clear();
            lock.lock();
            if (!isWritten && !isBroken)
                stopRecording(systemError(number));
        }
        lock.unlock();
        ::fdatasync(descriptor);
    }
};

DatagramRecorder::DatagramRecorder() : d(std::make_unique<Private>()) {}

std::unique_ptr<DatagramRecorder> DatagramRecorder::create(const std::string& file, std::string& error, Clock clock)
{
    std::unique_ptr<DatagramRecorder> recorder(new DatagramRecorder());
    Private& d = *recorder->d;
    d.file = file;
    d.clock = clock ? std::move(clock)
                    : [] { return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count(); };
    d.start = d.clock();
    // Visitors' names may be in it.
    d.descriptor = ::open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_APPEND | O_CLOEXEC, 0600);
    if (d.descriptor < 0) {
        error = "DatagramRecorder # Failed to make " + file + " (" + systemError(errno) + "); "
            + (errno == EEXIST ? "choose another name, or move that file away" : "choose a folder that can be written");
        return nullptr;
    }
    d.waiting.assign(Recording::kFirstLine.begin(), Recording::kFirstLine.end());
    // Signals are the main thread's business; a new thread inherits the mask.
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    try {
        d.thread = std::thread([&d] { d.run(); });
    } catch (const std::system_error& e) {
        error = std::string("DatagramRecorder # Failed to start its thread (") + e.what()
            + "); raise this machine's limit of threads";
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return d.thread.joinable() ? std::move(recorder) : nullptr;
}

DatagramRecorder::~DatagramRecorder()
{
    if (d->thread.joinable()) {
        {
            const std::lock_guard<std::mutex> lock(d->mutex);
            d->isEnding = true;
        }
        d->wake.notify_one();
        d->thread.join();
    }
    if (d->descriptor >= 0)
        ::close(d->descriptor);
}

void DatagramRecorder::note(const std::string& text)
{
    const std::lock_guard<std::mutex> lock(d->mutex);
    d->add(Recording::Note, [&text](Recording::Writer& w) { w.addBytes(text.data(), text.size()); });
}

void DatagramRecorder::frameBegins(double dtSeconds)
{
    const std::lock_guard<std::mutex> lock(d->mutex);
    d->step = dtSeconds;
}

void DatagramRecorder::settings(const TuioSettings& settings)
{
    const std::lock_guard<std::mutex> lock(d->mutex);
    d->add(Recording::Settings, [&settings](Recording::Writer& w) {
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
    d->add(Recording::Listener, [index, &tableRect](Recording::Writer& w) {
        w.add16(index);
        for (const float value : {tableRect.x, tableRect.y, tableRect.width, tableRect.height})
            w.addFloat(value);
    });
}

void DatagramRecorder::ignoredAreas(std::uint16_t index, const std::vector<SurfaceArea>& areas)
{
    const std::lock_guard<std::mutex> lock(d->mutex);
    d->add(Recording::IgnoredAreas, [index, &areas](Recording::Writer& w) {
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
    d->add(Recording::DatagramKind, [this, listener, &datagram](Recording::Writer& w) {
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
    d->add(Recording::ArrivalKind, [&arrival](Recording::Writer& w) {
        w.add64(arrival.job);
        w.add16(arrival.part);
        w.add8(static_cast<std::uint8_t>(arrival.kind));
        w.add8(static_cast<std::uint8_t>(arrival.content));
        w.addBytes(arrival.bytes.constData(), std::size_t(arrival.bytes.size()));
    });
}

void DatagramRecorder::frameTaken(double nowSeconds)
{
    {
        const std::lock_guard<std::mutex> lock(d->mutex);
        const double step = d->step == d->step ? d->step : nowSeconds - d->lastNow;
        d->step = std::numeric_limits<double>::quiet_NaN();
        d->lastNow = nowSeconds;
        ++d->frames;
        d->add(Recording::FrameKind, [this, step](Recording::Writer& w) {
            w.add64(d->frames);
            w.addDouble(step);
        });
    }
    d->wake.notify_one();
}
}
