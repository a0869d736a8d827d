#include <Tactile/TuioInput.hpp>

#include "input/TuioLog.hpp"

#include <Bedrock/Trace.hpp>
#include <Tactile/DatagramSource.hpp>
#include <Tactile/InputRecorder.hpp>
#include <Tactile/Sample.hpp>
#include <Tactile/TuioDecoder.hpp>

#include <algorithm>
#include <cassert>
#include <condition_variable>
#include <limits>
#include <mutex>
#include <utility>
#include <vector>

namespace Tactile
{
namespace
{
// More than a minute of a busy table. Beyond it whole datagrams are dropped, as if the network had lost them, so that
// a later sample is still a true state of the table.
constexpr std::size_t kMaxWaitingEvents = std::size_t(1) << 18;
constexpr std::size_t kUsualEvents = 1024;
}

struct TuioInput::Private
{
    struct Surface
    {
        Vecta::Rect rect; ///< of the table
        std::vector<SurfaceArea> ignored;

        [[nodiscard]] bool isIgnored(Vecta::Vector2f point) const
        {
            return std::any_of(ignored.begin(), ignored.end(), [point](const SurfaceArea& area) { return area.contains(point); });
        }
        [[nodiscard]] Vecta::Vector2f toTable(Vecta::Vector2f point) const
        {
            return {rect.x + point.x * rect.width, rect.y + point.y * rect.height};
        }
    };

    const TuioSettings settings;
    std::vector<std::unique_ptr<DatagramSource>> datagramSources;
    std::string errorText;
    ContactTracker tracker;

    mutable std::mutex mutex;
    mutable std::condition_variable arrived;
    // Guarded by mutex.
    TuioDecoder decoder;
    std::vector<ContactEvent> events;
    std::vector<Surface> surfaces; // of each listener
    TuioLog log;
    InputRecorder* recorder = nullptr;

    explicit Private(const TuioSettings& s) : settings(s), tracker(s.tracker) { events.reserve(kUsualEvents); }

    void receive(const Datagram& datagram, std::uint16_t listener)
    {
        {
            const std::lock_guard<std::mutex> lock(mutex);
            if (recorder)
                recorder->datagram(listener, datagram);
            if (events.size() >= kMaxWaitingEvents)
                decoder.countUnread(TuioDrop::QueueFull);
            else
                decoder.decode(datagram, listener, events);
        }
        arrived.notify_all();
    }

    void mapToTable()
    {
        for (ContactEvent& event : events) {
            if (event.kind == ContactEvent::Kind::Seen)
                continue;
            const Surface& surface = surfaces[event.listener];
            if (event.kind == ContactEvent::Kind::Appear && surface.isIgnored(event.position)) {
                event.isInIgnoredArea = true;
                decoder.count(TuioDrop::IgnoredArea, event.key.source);
            }
            event.position = surface.toTable(event.position);
        }
    }

    void giveUpLostSources()
    {
        for (const ContactTracker::LostSource& lost : tracker.lostSources()) {
            const std::string name = logNameOf(decoder.counters().sources[lost.source].name);
            if (lost.hadContacts)
                Bedrock::Trace::warning("TuioInput::readSample # Lost the sender %s (no packet for %g s); its fingers are "
                                        "cancelled and its cards leave the table; check whether it runs",
                                        name.c_str(), settings.tracker.lostSenderSeconds);
            else
                Bedrock::Trace::info("TuioInput::readSample # The sender %s has gone (no packet for %g s)", name.c_str(),
                                     settings.tracker.lostSenderSeconds);
            decoder.sourceLost(lost.source);
        }
    }
};

TuioInput::TuioInput(const TuioSettings& settings) : d(std::make_unique<Private>(settings)) {}

TuioInput::~TuioInput()
{
    for (const auto& source : d->datagramSources)
        source->stop();
}

void TuioInput::setRecorder(InputRecorder* recorder)
{
    assert(d->datagramSources.empty() && "a recording begins before its sources");
    const std::lock_guard<std::mutex> lock(d->mutex);
    d->recorder = recorder;
    if (recorder)
        recorder->settings(d->settings);
}

bool TuioInput::addSource(std::unique_ptr<DatagramSource> source)
{
    return addSource(std::move(source), d->settings.tableRect);
}

bool TuioInput::addSource(std::unique_ptr<DatagramSource> source, const Vecta::Rect& tableRect)
{
    if (d->datagramSources.size() >= std::numeric_limits<std::uint16_t>::max()) {
        d->errorText = "TuioInput::addSource # Failed to add a source (there are 65535 already); use fewer";
        return false;
    }
    const auto listener = static_cast<std::uint16_t>(d->datagramSources.size());
    {
        const std::lock_guard<std::mutex> lock(d->mutex);
        d->surfaces.push_back({tableRect, {}});
        if (d->recorder)
            d->recorder->listener(listener, tableRect);
    }
    if (!source->start([input = d.get(), listener](const Datagram& datagram) { input->receive(datagram, listener); })) {
        d->errorText = source->errorText();
        const std::lock_guard<std::mutex> lock(d->mutex);
        d->surfaces.pop_back();
        return false;
    }
    d->datagramSources.push_back(std::move(source));
    return true;
}

const std::string& TuioInput::errorText() const noexcept
{
    return d->errorText;
}

void TuioInput::setTableRect(std::size_t index, const Vecta::Rect& tableRect)
{
    const std::lock_guard<std::mutex> lock(d->mutex);
    if (index >= d->surfaces.size())
        return;
    d->surfaces[index].rect = tableRect;
    if (d->recorder)
        d->recorder->listener(static_cast<std::uint16_t>(index), tableRect);
}

void TuioInput::setIgnoredAreas(std::size_t index, std::vector<SurfaceArea> areas)
{
    const std::lock_guard<std::mutex> lock(d->mutex);
    if (index >= d->surfaces.size())
        return;
    if (d->recorder)
        d->recorder->ignoredAreas(static_cast<std::uint16_t>(index), areas);
    d->surfaces[index].ignored = std::move(areas);
}

std::vector<SurfaceArea> TuioInput::ignoredAreas() const
{
    const std::lock_guard<std::mutex> lock(d->mutex);
    std::vector<SurfaceArea> all;
    for (const Private::Surface& surface : d->surfaces) {
        for (SurfaceArea area : surface.ignored) {
            for (Vecta::Vector2f& corner : area.corners)
                corner = surface.toTable(corner);
            all.push_back(std::move(area));
        }
    }
    return all;
}

void TuioInput::readSample(double nowSeconds, Sample& sample)
{
    // The tracker runs under the lock as well: a sender that it gives up must not deliver a frame meanwhile.
    const std::lock_guard<std::mutex> lock(d->mutex);
    if (d->recorder)
        d->recorder->frameTaken(nowSeconds);
    d->mapToTable();
    d->tracker.update(nowSeconds, d->events, sample);
    d->events.clear();
    d->giveUpLostSources();
    d->log.report(nowSeconds, d->decoder);
}

TuioCounters TuioInput::counters() const
{
    const std::lock_guard<std::mutex> lock(d->mutex);
    return d->decoder.counters();
}

std::uint64_t TuioInput::datagramsReceived() const
{
    const std::lock_guard<std::mutex> lock(d->mutex);
    return d->decoder.counters().packets;
}

bool TuioInput::waitForDatagrams(std::uint64_t count, std::chrono::milliseconds timeout) const
{
    std::unique_lock<std::mutex> lock(d->mutex);
    return d->arrived.wait_for(lock, timeout, [&] { return d->decoder.counters().packets >= count; });
}
}
