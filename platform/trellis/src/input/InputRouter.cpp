#include "input/InputRouter.hpp"

#include "input/HitTest.hpp"
#include "tree/FrameGuard.hpp"

#include <Tactile/InputSource.hpp>
#include <Trellis/Widget.hpp>

#include <algorithm>

namespace Trellis
{
namespace
{
using Kind = Tactile::InputChange::Kind;

bool isLeaving(const Tactile::InputChange& change)
{
    return change.kind == Kind::Up || change.kind == Kind::Cancel;
}

template <class T>
void append(std::vector<T>& list, const std::vector<T>& more)
{
    list.insert(list.end(), more.begin(), more.end());
}
}

InputRouter::InputRouter(Widget& root, MotionController& motion) : m_root(root), m_grabManager(*this), m_fingers(m_grabs, motion)
{
}

// ---- The sample ------------------------------------------------------------------------------------------------------

void InputRouter::addSource(Tactile::InputSource& source)
{
    if (std::find(m_sources.begin(), m_sources.end(), &source) == m_sources.end())
        m_sources.push_back(&source);
}

void InputRouter::removeSource(Tactile::InputSource& source)
{
    m_sources.erase(std::remove(m_sources.begin(), m_sources.end(), &source), m_sources.end());
}

void InputRouter::collectSample(double timeSeconds)
{
    if (m_sources.size() == 1) {
        m_sources.front()->readSample(timeSeconds, m_sample);
    } else {
        m_sample.clear();
        for (Tactile::InputSource* source : m_sources) {
            source->readSample(timeSeconds, m_scratch);
            append(m_sample.fingers, m_scratch.fingers);
            append(m_sample.markers, m_scratch.markers);
            append(m_sample.changes, m_scratch.changes);
        }
        std::sort(m_sample.fingers.begin(), m_sample.fingers.end(), [](const auto& a, const auto& b) { return a.id() < b.id(); });
    }
    m_lifted.clear();
    for (const Tactile::InputChange& change : m_sample.changes)
        if (change.object.isMarker() && isLeaving(change))
            m_lifted.emplace_back(change.object);
}

std::optional<Tactile::Marker> InputRouter::findMarker(std::int64_t id, bool includeLifted) const
{
    for (const Tactile::Marker& marker : m_sample.markers)
        if (marker.id() == id)
            return marker;
    if (includeLifted)
        for (const Tactile::Marker& marker : m_lifted)
            if (marker.id() == id)
                return marker;
    return std::nullopt;
}

// ---- Delivery --------------------------------------------------------------------------------------------------------

void InputRouter::run(double timeSeconds, double dtSeconds)
{
    collectSample(timeSeconds);
    m_fingers.beginFrame(timeSeconds, dtSeconds);
    for (std::size_t i = 0; i < m_sample.changes.size(); ++i)
        guardedInFrame("The delivery of input", [&] { deliver(m_sample.changes[i]); });
    m_fingers.endFrame();
}

void InputRouter::deliver(const Tactile::InputChange& change)
{
    const Tactile::TrackedObject& object = change.object;
    switch (change.kind) {
    case Kind::Down: appeared(object); break;
    case Kind::Move:
        // A marker that moves is read from the sample by the widgets that care.
        if (object.isFinger())
            m_fingers.moved(object);
        break;
    case Kind::Up:
    case Kind::Cancel: left(object, change.kind == Kind::Cancel); break;
    }
}

void InputRouter::appeared(const Tactile::TrackedObject& object)
{
    if (object.isFinger() && m_fingers.isDown(object.id()))
        return;
    const Bedrock::IntrusivePtr<Widget> taker(HitTest::taker(m_root, m_grabManager, object));
    if (!taker)
        return;
    if (object.isMarker())
        giveMarker(Tactile::Marker(object), *taker);
    else
        guardedInFrame("A listener to a finger", [&] { m_fingers.down(object, *taker); });
}

void InputRouter::left(const Tactile::TrackedObject& object, bool cancelled)
{
    if (object.isFinger()) {
        guardedInFrame("A listener to a finger", [&] { m_fingers.left(object, cancelled); });
        return;
    }
    const Bedrock::IntrusivePtr<Widget> host(holder(object.id()));
    if (!host)
        return;
    m_grabs.release(object.id());
    guardedInFrame("Widget::markerUp", [&] { host->markerUp(Tactile::Marker(object), m_grabManager); });
}

void InputRouter::giveMarker(const Tactile::Marker& marker, Widget& to)
{
    m_grabs.set(marker.id(), to);
    guardedInFrame("Widget::markerDown", [&] { to.markerDown(marker, m_grabManager); });
}

void InputRouter::transfer(std::int64_t id, Widget& to)
{
    const Bedrock::IntrusivePtr<Widget> host(&to);
    if (!m_root.isAncestorOf(*host))
        return;
    if (const auto marker = findMarker(id, false))
        giveMarker(*marker, *host);
    else
        m_fingers.transfer(id, *host);
}

void InputRouter::release(std::int64_t id, const Widget& holder)
{
    if (m_grabs.holder(id) != &holder)
        return;
    m_grabs.release(id);
    m_fingers.drop(id);
}

void InputRouter::dropAllBelow(Widget& widget)
{
    m_fingers.widgetLeaves(widget);
    for (const auto& child : widget.children())
        dropAllBelow(*child);
}
}
