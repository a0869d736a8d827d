#include <Trellis/Widget.hpp>

#include "application/ApplicationPrivate.hpp"
#include "application/FrameUpdater.hpp"
#include "drawing/BoxPainter.hpp"
#include "drawing/DamageTracker.hpp"
#include "input/WidgetInput.hpp"
#include "layout/LayoutEngine.hpp"
#include "motion/MotionController.hpp"
#include "tree/WidgetEvents.hpp"
#include "tree/WidgetPrivate.hpp"

#include <Trellis/Application.hpp>
#include <Trellis/GrabManager.hpp>

#include <algorithm>
#include <cassert>

namespace Trellis
{
using Bedrock::IntrusivePtr;

Widget::Widget(Widget* parent) : Cascara::Styleable(static_cast<Facet::Node&>(*this)), d(std::make_unique<Private>(this))
{
    eventAddOut(WidgetEvents::kInteractionBegin);
    eventAddOut(WidgetEvents::kInteractionEnd);
    eventAddOut(WidgetEvents::kFingerDown);
    eventAddOut(WidgetEvents::kFingerUp);
    eventAddOut(WidgetEvents::kSingleTap);
    eventAddOut(WidgetEvents::kMarkerDown);
    eventAddOut(WidgetEvents::kMarkerUp);
    if (const Application* application = Application::instance())
        d->lastTouch = application->time();
    setCSSType(QByteArrayLiteral("Widget"));
    // The parent's reference keeps the widget from this moment on.
    if (parent)
        parent->addChild(IntrusivePtr<Widget>(this));
}

Widget::~Widget()
{
    // A widget without owner (on the stack of a test) may still stand somewhere.
    if (d->inTree)
        leaveTree();
    while (!d->operators.empty()) {
        const IntrusivePtr<Operator> op = std::move(d->operators.back());
        d->operators.pop_back();
        op->setStyleParent(nullptr);
        op->removed(*this);
    }
    while (!m_children.empty()) {
        const IntrusivePtr<Widget> child = std::move(m_children.back());
        m_children.pop_back();
        child->m_parent = nullptr;
        // Who dies with its parent needs no style any more.
        if (child->referenceCount() > 1)
            child->setStyleParent(nullptr);
    }
    d->flowOrder.clear();
}

void Widget::postConstruct()
{
    updateStyle();
}

// ---- Tree ------------------------------------------------------------------------------------------------------------

bool Widget::isAncestorOf(const Widget& other) const noexcept
{
    const Widget* widget = &other;
    while (widget && widget != this)
        widget = widget->m_parent;
    return widget == this;
}

void Widget::addChild(IntrusivePtr<Widget> child)
{
    assert(child && "no child to add");
    assert(!child->isAncestorOf(*this) && "a widget cannot become its own descendant");
    if (child->m_parent)
        child->detachFromParent();
    child->attachTo(*this);
}

void Widget::attachTo(Widget& parent)
{
    m_parent = &parent;
    parent.m_children.emplace_back(this);
    parent.d->flowOrder.push_back(this);
    LayoutEngine::invalidateBox(*this);
    if (d->arrangeDirty || d->belowDirty)
        LayoutEngine::invalidateContent(*this);
    if (parent.d->inTree)
        enterTree();
    setStyleParent(&parent);
}

/// The caller holds a reference.
void Widget::detachFromParent()
{
    if (d->inTree)
        leaveTree();
    Widget& parent = *m_parent;
    LayoutEngine::invalidateBox(*this);
    m_parent = nullptr;
    auto& order = parent.d->flowOrder;
    order.erase(std::find(order.begin(), order.end(), this));
    auto& siblings = parent.m_children;
    siblings.erase(std::find(siblings.begin(), siblings.end(), this));
    setStyleParent(nullptr);
}

void Widget::removeChild(Widget& child)
{
    if (child.m_parent != this)
        return;
    const IntrusivePtr<Widget> keep(&child);
    child.detachFromParent();
    if (Application* application = Application::instance())
        application->d->removed.push_back(keep);
}

void Widget::removeFromParent()
{
    if (m_parent)
        m_parent->removeChild(*this);
}

/// Only own lists change here, nobody is called: the tree is whole when the first listener hears of it.
void Widget::enterTree()
{
    d->inTree = true;
    FrameUpdater::refresh(*this);
    DamageTracker::widgetChanged(*this, DamageTracker::Extent::Widget);
    for (const auto& child : m_children)
        child->enterTree();
}

void Widget::leaveTree()
{
    DamageTracker::widgetLeaves(*this);
    const auto leave = [](auto&& self, Widget& widget) -> void {
        WidgetInput::widgetLeaves(widget);
        widget.d->moving = false;
        widget.d->inTree = false;
        FrameUpdater::refresh(widget);
        for (const auto& child : widget.m_children)
            self(self, *child);
    };
    leave(leave, *this);
    Application* application = Application::instance();
    if (application && application->d->focus && isAncestorOf(*application->d->focus))
        application->setFocusWidget(nullptr);
}

void Widget::raiseToTop(bool recursive)
{
    for (Widget* widget = this; widget->m_parent; widget = widget->m_parent) {
        auto& siblings = widget->m_parent->m_children;
        if (siblings.back() != widget) {
            const auto here = std::find(siblings.begin(), siblings.end(), widget);
            std::rotate(here, here + 1, siblings.end());
            DamageTracker::widgetChanged(*widget, DamageTracker::Extent::Subtree);
        }
        if (!recursive)
            return;
    }
}

void Widget::lowerToBottom()
{
    if (!m_parent)
        return;
    auto& siblings = m_parent->m_children;
    const auto here = std::find(siblings.begin(), siblings.end(), this);
    std::rotate(siblings.begin(), here, here + 1);
    DamageTracker::widgetChanged(*this, DamageTracker::Extent::Subtree);
}

Widget* Widget::findByType(const QByteArray& type) const
{
    for (const auto& child : m_children) {
        if (child->cssType() == type)
            return child.get();
        if (Widget* found = child->findByType(type))
            return found;
    }
    return nullptr;
}

std::vector<Widget*> Widget::findAllByType(const QByteArray& type) const
{
    std::vector<Widget*> found;
    const auto search = [&](auto&& self, const Widget& widget) -> void {
        for (const auto& child : widget.m_children) {
            if (child->cssType() == type)
                found.push_back(child.get());
            self(self, *child);
        }
    };
    search(search, *this);
    return found;
}

// ---- Operators -------------------------------------------------------------------------------------------------------

void Widget::addOperator(IntrusivePtr<Operator> op)
{
    assert(op && "no operator to add");
    assert(!op->styleParent() && "an operator belongs to one widget");
    d->operators.push_back(op);
    FrameUpdater::refresh(*this);
    op->setStyleParent(this);
    op->added(*this);
}

void Widget::removeOperator(Operator& op)
{
    auto& operators = d->operators;
    const auto found = std::find(operators.begin(), operators.end(), &op);
    if (found == operators.end())
        return;
    // A frame that visits the operators just now goes on with the one that follows.
    const int index = int(found - operators.begin());
    if (index < d->operatorEnd)
        --d->operatorEnd;
    if (index <= d->operatorIndex)
        --d->operatorIndex;
    const IntrusivePtr<Operator> keep = std::move(*found);
    operators.erase(found);
    FrameUpdater::refresh(*this);
    keep->setStyleParent(nullptr);
    keep->removed(*this);
}

const std::vector<IntrusivePtr<Operator>>& Widget::operators() const noexcept
{
    return d->operators;
}

// ---- A frame, and input ------------------------------------------------------------------------------------------------

void Widget::update(const FrameInfo&) {}

void Widget::markerDown(Tactile::Marker marker, GrabManager&)
{
    Bedrock::BinaryData payload;
    payload.writeInt64(marker.id());
    eventSend(WidgetEvents::kMarkerDown, payload);
}

void Widget::markerUp(Tactile::Marker marker, GrabManager&)
{
    Bedrock::BinaryData payload;
    payload.writeInt64(marker.id());
    eventSend(WidgetEvents::kMarkerUp, payload);
}

bool Widget::shouldGrab(GrabManager&, Tactile::TrackedObject object) const
{
    for (const Widget* widget = this; widget; widget = widget->m_parent)
        if (widget->d->inputDisabled || widget->d->fadingOut)
            return false;
    return !d->inputTransparent.value() && isVisible() && isInside(mapFromScene(object.centerLocation()));
}

void Widget::setInputEnabled(bool on)
{
    d->inputDisabled = !on;
    if (!on)
        WidgetInput::dropAllBelow(*this);
}

void Widget::renderContent(Lantern::RenderContext& context) const
{
    paintBox(context, size(),
             {d->backgroundColor.value(), d->borderColor.value(), d->borderWidth.value(), d->borderRadius.value()});
}

void Widget::setHoldsFingers(bool on)
{
    d->holdsFingers = on;
}

InputGrabber& Widget::inputGrabber()
{
    return d->grabber;
}

void Widget::setUpdating(bool on)
{
    d->updating = on;
    FrameUpdater::refresh(*this);
}

bool Widget::isUpdating() const noexcept
{
    return d->updating;
}

void Widget::stopMotion()
{
    MotionController::stop(*this);
}

bool Widget::isMoving() const noexcept
{
    return d->moving;
}

bool Widget::isHeld() const noexcept
{
    return d->fingersHeld > 0;
}

double Widget::idleSeconds() const noexcept
{
    const Application* application = Application::instance();
    return application ? std::max(0.0, application->time() - d->lastTouch) : 0.0;
}

// ---- Changes ---------------------------------------------------------------------------------------------------------

void Widget::requestRedraw()
{
    DamageTracker::widgetChanged(*this, DamageTracker::Extent::Widget);
}

void Widget::requestLayout()
{
    LayoutEngine::invalidateContent(*this);
}

Vecta::Vector2f Widget::contentSize(float availableWidth) const
{
    return LayoutEngine::flowSize(*this, availableWidth);
}

void Widget::attributeChanged(Facet::Attribute& attribute)
{
    const Facet::Attribute* const a = &attribute;
    if (a == &d->location || a == &d->rotation || a == &d->opacity) {
        DamageTracker::widgetChanged(*this, DamageTracker::Extent::Subtree);
    } else if (a == &d->scale) {
        DamageTracker::widgetChanged(*this, DamageTracker::Extent::Subtree);
        if (m_parent)
            LayoutEngine::invalidateBox(*this);
    } else if (a == &d->backgroundColor || a == &d->borderColor || a == &d->borderWidth || a == &d->borderRadius) {
        requestRedraw();
    } else if (a == &d->display || a == &d->overflow) {
        DamageTracker::widgetChanged(*this, DamageTracker::Extent::Subtree);
        LayoutEngine::invalidateBox(*this);
    } else if (a == &d->align || a == &d->gap) {
        LayoutEngine::invalidateContent(*this);
    } else if (a == &d->width || a == &d->height || a == &d->minWidth || a == &d->maxWidth || a == &d->minHeight
               || a == &d->maxHeight || a == &d->left || a == &d->top || a == &d->right || a == &d->bottom || a == &d->padding
               || a == &d->margin || a == &d->position) {
        LayoutEngine::invalidateBox(*this);
    }
}
}
