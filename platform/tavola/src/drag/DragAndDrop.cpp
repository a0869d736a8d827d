#include "drag/DragAndDrop.hpp"

#include "shared/TableGeometry.hpp"

#include <Bedrock/Guarded.hpp>
#include <Bedrock/Trace.hpp>
#include <Facet/Attribute.hpp>
#include <Tavola/DropListener.hpp>
#include <Trellis/Application.hpp>
#include <Trellis/FadeAnimator.hpp>
#include <Trellis/FrameInfo.hpp>
#include <Trellis/Operator.hpp>
#include <Trellis/Widget.hpp>
#include <Vecta/Angle.hpp>

#include <algorithm>

namespace Tavola
{
namespace
{
using Trellis::Widget;
using Vecta::Vector2f;

constexpr float kGlideSeconds = 0.3f;

const char* const kPlaceAttributes[] = {"location", "rotation", "scale"};
constexpr int kPlaceAttributeCount = 3;

struct Place
{
    Vector2f location;
    float rotation = 0.f;
    float scale = 1.f;
};

Place placeOf(const Widget& widget)
{
    return {widget.location(), widget.rotation(), widget.scale()};
}

void put(Widget& widget, const Place& place)
{
    widget.setScale(place.scale);
    widget.setRotation(place.rotation);
    widget.setLocation(place.location);
}

/// `share` of the way from one place to the other; turns the shorter way round.
Place between(const Place& from, const Place& to, float share)
{
    return {from.location + (to.location - from.location) * share,
            from.rotation + Vecta::shortestTurn(from.rotation, to.rotation) * share,
            from.scale + (to.scale - from.scale) * share};
}

/// Whether the widget is visible and not fading out.
bool acceptsDrops(const Widget& widget)
{
    return widget.isVisible() && !widget.nearest([](const Widget& w) { return Trellis::FadeAnimator::isFadingOut(w); });
}

/// The topmost listener under the point in the subtree of `widget`, without the dragged widget, its children and its ancestors.
Widget* listenerAt(Widget& widget, const Widget& dragged, Vector2f scenePoint)
{
    if (&widget == &dragged)
        return nullptr;
    const auto& children = widget.children();
    for (auto child = children.rbegin(); child != children.rend(); ++child)
        if (Widget* found = listenerAt(**child, dragged, scenePoint))
            return found;
    if (!dynamic_cast<DropListener*>(&widget) || widget.isAncestorOf(dragged))
        return nullptr;
    return widget.isInside(widget.mapFromScene(scenePoint)) && acceptsDrops(widget) ? &widget : nullptr;
}

Widget* listenerAt(const Widget& dragged, Vector2f scenePoint)
{
    auto* const application = Trellis::Application::instance();
    return application ? listenerAt(*application->mainLayer(), dragged, scenePoint) : nullptr;
}

/// Sends an event to a listener. Returns whether the listener accepted it; an exception is logged and counts as a refusal.
bool send(Widget& listener, const Bedrock::IntrusivePtr<Widget>& dragged, Vector2f scenePoint, DropEvent::Type type)
{
    bool isAccepted = false;
    Bedrock::guarded(
        [&] {
            isAccepted = dynamic_cast<DropListener&>(listener).dropEvent({dragged, listener.mapFromScene(scenePoint), type});
        },
        [&](const char* reason) {
            Bedrock::Trace::error("DragAndDrop # Drop event %u on %s %ld failed (%s)", static_cast<unsigned>(type),
                                  listener.cssType().constData(), listener.id(), reason);
        });
    return isAccepted;
}
}

struct DragAndDrop::Drag
{
    Bedrock::IntrusivePtr<Widget> widget;
    Bedrock::IntrusivePtr<Widget> listener; ///< accepted the last hover, and has not been sent Leave
    Vector2f scenePoint;                    ///< of the drag, at its last event

    // Where the widget stood, and whether its run-time layer or style and flow put it there.
    Bedrock::IntrusiveWeakPtr<Widget> homeParent;
    Place home;
    bool placedAtRunTime[kPlaceAttributeCount] = {};

    bool isGliding = false;
    float glideSeconds = 0.f;
    Place glideFrom;
    Vector2f heldPoint; ///< of the widget: where the fingers held it when they let go
};

/// Updates DragAndDrop once a frame. Shared with the main layer, which may be destroyed first.
class DragAndDrop::FrameOperator final : public Trellis::Operator
{
public:
    explicit FrameOperator(DragAndDrop& owner) : m_owner(&owner) { setCSSType(QByteArrayLiteral("drag-and-drop")); }
    void detach() { m_owner = nullptr; }
    void removed(Widget&) override
    {
        if (m_owner)
            m_owner->m_frameOperator.reset();
    }
    void update(Widget&, const Trellis::FrameInfo& frame) override
    {
        if (m_owner)
            m_owner->update(frame.dt());
        if (m_owner && m_owner->m_drags.empty()) {
            setDone();
            std::exchange(m_owner, nullptr)->m_frameOperator.reset();
        }
    }

private:
    DragAndDrop* m_owner;
};

DragAndDrop::DragAndDrop()
{
    Trellis::Application::instance()->setDragObserver(this);
}

DragAndDrop::~DragAndDrop()
{
    auto* const application = Trellis::Application::instance();
    if (application)
        application->setDragObserver(nullptr);
    if (!m_frameOperator)
        return;
    const auto frameOperator = m_frameOperator;
    frameOperator->detach();
    if (application)
        application->mainLayer()->removeOperator(*frameOperator);
}

DragAndDrop::DragPtr DragAndDrop::find(const Widget& widget) const
{
    for (const auto& drag : m_drags)
        if (drag->widget == &widget)
            return drag;
    return nullptr;
}

DragAndDrop::DragPtr DragAndDrop::begin(Widget& widget)
{
    if (const auto present = find(widget)) {
        // Caught on its way home, which stays its home.
        present->isGliding = false;
        return present;
    }
    auto drag = std::make_shared<Drag>();
    drag->widget = Bedrock::IntrusivePtr<Widget>(&widget);
    drag->homeParent = Bedrock::IntrusiveWeakPtr<Widget>(widget.parent());
    drag->home = placeOf(widget);
    for (int i = 0; i < kPlaceAttributeCount; ++i)
        drag->placedAtRunTime[i] = widget.attribute(kPlaceAttributes[i])->hasValue(Facet::kUserLayer);
    m_drags.push_back(drag);
    watch();
    return drag;
}

void DragAndDrop::forget(const DragPtr& drag)
{
    m_drags.erase(std::remove(m_drags.begin(), m_drags.end(), drag), m_drags.end());
}

/// Makes `listener` (or null) the one that the drag hovers over, and sends Leave to the one before.
void DragAndDrop::setListener(const DragPtr& drag, Widget* listener, Vector2f scenePoint)
{
    if (drag->listener == listener)
        return;
    // Set first: a listener may end the drag in its handler.
    Bedrock::IntrusivePtr<Widget> left(listener);
    std::swap(left, drag->listener);
    if (left)
        send(*left, drag->widget, scenePoint, DropEvent::Leave);
}

void DragAndDrop::dragBegan(Widget& widget)
{
    static_cast<void>(begin(widget));
}

void DragAndDrop::dragMoved(Widget& widget, Vector2f scenePoint, int fingers)
{
    const DragPtr drag = begin(widget);
    drag->scenePoint = scenePoint;
    Widget* const under = listenerAt(widget, scenePoint);
    if (drag->listener && drag->listener != under)
        setListener(drag, nullptr, scenePoint);
    if (!under)
        return;
    const Bedrock::IntrusivePtr<Widget> listener(under); // may remove itself in its handler
    const bool accepted = send(*listener, drag->widget, scenePoint, fingers > 1 ? DropEvent::Hover : DropEvent::ValidHover);
    if (accepted)
        setListener(drag, listener.get(), scenePoint);
    if (!accepted || find(widget) != drag) // refused, or the drag ended meanwhile
        setListener(drag, nullptr, scenePoint);
}

void DragAndDrop::dragEnded(Widget& widget, Vector2f scenePoint, bool cancelled)
{
    const DragPtr drag = find(widget);
    if (!drag || drag->isGliding)
        return;
    drag->scenePoint = scenePoint;
    Widget* const under = cancelled || !isOnTable(widget) ? nullptr : listenerAt(widget, scenePoint);
    if (drag->listener && drag->listener != under)
        setListener(drag, nullptr, scenePoint);
    if (under)
        drop(drag, *under, scenePoint);
    else
        forget(drag);
}

void DragAndDrop::drop(const DragPtr& drag, Widget& under, Vector2f scenePoint)
{
    const Bedrock::IntrusivePtr<Widget> listener(&under); // may remove itself in its handler
    Widget& widget = *drag->widget;
    drag->heldPoint = widget.mapFromScene(scenePoint);
    if (!send(*listener, drag->widget, scenePoint, DropEvent::Drop)) {
        setListener(drag, nullptr, scenePoint);
        forget(drag);
        return;
    }
    setListener(drag, listener.get(), scenePoint);
    widget.stopMotion();
    const auto homeParent = drag->homeParent.lock();
    if (!homeParent || widget.parent() != homeParent.get()) {
        // The listener has moved it elsewhere in the tree, where it stays.
        setListener(drag, nullptr, scenePoint);
        forget(drag);
        return;
    }
    drag->isGliding = true;
    drag->glideSeconds = 0.f;
    drag->glideFrom = placeOf(widget);
}

void DragAndDrop::watch()
{
    auto* const application = Trellis::Application::instance();
    if (m_frameOperator || !application)
        return;
    m_frameOperator = Bedrock::makeIntrusive<FrameOperator>(*this);
    application->mainLayer()->addOperator(m_frameOperator);
}

void DragAndDrop::update(float dtSeconds)
{
    // By index, from the end: a listener may end this drag and others.
    for (std::size_t i = m_drags.size(); i-- > 0;) {
        if (i >= m_drags.size())
            continue;
        const DragPtr drag = m_drags[i];
        if (drag->listener && !isOnTable(*drag->listener))
            setListener(drag, nullptr, drag->scenePoint);
        // A drag whose widget left the tree, or whose fingers were grabbed by another widget, has no end event.
        if (!isOnTable(*drag->widget) || (!drag->isGliding && !drag->widget->isHeld())) {
            setListener(drag, nullptr, drag->scenePoint);
            forget(drag);
        } else if (drag->isGliding) {
            glide(drag, dtSeconds);
        }
    }
}

void DragAndDrop::glide(const DragPtr& drag, float dtSeconds)
{
    Widget& widget = *drag->widget;
    if (widget.parent() != drag->homeParent.lock().get()) {
        setListener(drag, nullptr, drag->scenePoint);
        forget(drag);
        return;
    }
    if (widget.isHeld())
        return; // a finger stops it; it goes on when the finger leaves without having dragged it
    drag->glideSeconds += dtSeconds;
    const float share = std::min(1.f, drag->glideSeconds / kGlideSeconds);
    const bool isHome = share >= 1.f;
    if (isHome) {
        put(widget, drag->home);
        for (int i = 0; i < kPlaceAttributeCount; ++i)
            if (!drag->placedAtRunTime[i])
                widget.attribute(kPlaceAttributes[i])->clearValue(Facet::kUserLayer);
    } else {
        put(widget, between(drag->glideFrom, drag->home, share * share * (3.f - 2.f * share)));
    }
    drag->scenePoint = widget.mapToScene(drag->heldPoint);
    const auto listener = drag->listener;
    if (listener && (isHome || !listener->isInside(listener->mapFromScene(drag->scenePoint))))
        setListener(drag, nullptr, drag->scenePoint);
    if (isHome)
        forget(drag);
}
}
