#include <Trellis/GrabManager.hpp>

#include "application/Guarded.hpp"
#include "input/GrabManagerPrivate.hpp"
#include "input/HitTest.hpp"
#include "input/WidgetInput.hpp"

#include <Trellis/InputGrabber.hpp>

#include <algorithm>

namespace Trellis
{
Facet::Node* InputGrabber::host() const noexcept
{
    return &m_host;
}

GrabManager::GrabManager(Widget& root) : d(std::make_unique<Private>(root)) {}

GrabManager::~GrabManager() = default;

const Tactile::Sample& GrabManager::currentSample() const noexcept
{
    return d->sample;
}

std::optional<Tactile::Marker> GrabManager::findMarker(std::int64_t id, bool includeLifted) const
{
    for (const Tactile::Marker& marker : d->sample.markers)
        if (marker.id() == id)
            return marker;
    if (includeLifted)
        for (const Tactile::Marker& marker : d->lifted)
            if (marker.id() == id)
                return marker;
    return std::nullopt;
}

InputGrabber* GrabManager::grabber(std::int64_t id) const
{
    Widget* holder = d->holder(id);
    return holder ? &holder->inputGrabber() : nullptr;
}

void GrabManager::transferGrab(std::int64_t id, InputGrabber& to)
{
    const Bedrock::IntrusivePtr<Widget> host(&to.m_host);
    if (!d->root.isAncestorOf(*host))
        return;
    if (const auto marker = findMarker(id)) {
        d->set(id, *host);
        guarded("Widget::markerDown", [&] { host->markerDown(*marker, *this); });
    } else if (d->fingers) {
        d->fingers->transfer(id, *host);
    }
}

void GrabManager::ungrab(std::int64_t id, InputGrabber& grabber)
{
    if (d->holder(id) != &grabber.m_host)
        return;
    d->release(id);
    if (d->fingers)
        d->fingers->drop(id);
}

// ---- Private ---------------------------------------------------------------------------------------------------------

Widget* GrabManager::Private::holder(std::int64_t id) const
{
    for (const Grab& grab : grabs)
        if (grab.id == id)
            return grab.holder;
    return nullptr;
}

void GrabManager::Private::set(std::int64_t id, Widget& holder)
{
    for (Grab& grab : grabs) {
        if (grab.id == id) {
            grab.holder = &holder;
            return;
        }
    }
    grabs.push_back({id, &holder});
}

void GrabManager::Private::release(std::int64_t id)
{
    grabs.erase(std::remove_if(grabs.begin(), grabs.end(), [id](const Grab& g) { return g.id == id; }), grabs.end());
}

void GrabManager::Private::releaseAllOf(const Widget& widget)
{
    grabs.erase(std::remove_if(grabs.begin(), grabs.end(), [&widget](const Grab& g) { return g.holder == &widget; }),
                grabs.end());
}

void GrabManager::Private::markerAppeared(GrabManager& self, const Tactile::Marker& marker)
{
    const Bedrock::IntrusivePtr<Widget> taker(HitTest::taker(root, self, marker));
    if (!taker)
        return;
    set(marker.id(), *taker);
    guarded("Widget::markerDown", [&] { taker->markerDown(marker, self); });
}

void GrabManager::Private::markerLeft(GrabManager& self, const Tactile::Marker& marker)
{
    const Bedrock::IntrusivePtr<Widget> taker(holder(marker.id()));
    if (!taker)
        return;
    release(marker.id());
    guarded("Widget::markerUp", [&] { taker->markerUp(marker, self); });
}
}
