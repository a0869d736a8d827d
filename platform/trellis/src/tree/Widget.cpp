#include <Trellis/Widget.hpp>

#include "tree/DrawnPlace.hpp"
#include "tree/WidgetEngines.hpp"
#include "tree/WidgetEvents.hpp"
#include "tree/WidgetRecords.hpp"

#include <algorithm>
#include <cassert>

namespace Trellis
{
using Bedrock::IntrusivePtr;

Widget::Widget(Widget* parent) : Cascara::Styleable(static_cast<Facet::Node&>(*this)), d(std::make_unique<WidgetRecords>(*this))
{
    eventAddOut(WidgetEvents::kInteractionBegin);
    eventAddOut(WidgetEvents::kInteractionEnd);
    eventAddOut(WidgetEvents::kFingerDown);
    eventAddOut(WidgetEvents::kFingerUp);
    eventAddOut(WidgetEvents::kSingleTap);
    eventAddOut(WidgetEvents::kMarkerDown);
    eventAddOut(WidgetEvents::kMarkerUp);
    d->input.lastTouch = WidgetEngines::current().time();
    setCSSType(QByteArrayLiteral("Widget"));
    // The parent's reference keeps the widget from this moment on.
    if (parent)
        parent->addChild(IntrusivePtr<Widget>(this));
}

Widget::~Widget()
{
    beginStyleEnd();
    // A widget without owner (on the stack of a test) may still stand somewhere.
    if (d->drawing.inTree)
        leaveTree();
    auto& operators = d->update.operators;
    while (!operators.empty()) {
        const IntrusivePtr<Operator> op = std::move(operators.back());
        operators.pop_back();
        op->setStyleParent(nullptr);
        op->removed(*this);
    }
    while (!m_children.empty()) {
        const IntrusivePtr<Widget> child = std::move(m_children.back());
        m_children.pop_back();
        child->m_parent = nullptr;
        // A child destroyed with its parent is not restyled.
        if (child->referenceCount() > 1)
            child->setStyleParent(nullptr);
    }
    d->layout.flowOrder.clear();
}

void Widget::postConstruct()
{
    updateStyle();
}

// ---- Tree ------------------------------------------------------------------------------------------------------------

bool Widget::isAncestorOf(const Widget& other) const noexcept
{
    return other.nearest([this](const Widget& widget) { return &widget == this; }) != nullptr;
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
    parent.d->layout.flowOrder.push_back(this);
    markReachStale(*this);
    if (d->drawing.holdsKept)
        markHoldsKept(parent);
    invalidateBox(*this);
    if (isLayoutDirty(*this))
        invalidateContent(*this);
    if (parent.d->drawing.inTree)
        enterTree();
    setStyleParent(&parent);
}

/// The caller holds a reference.
void Widget::detachFromParent()
{
    if (d->drawing.inTree)
        leaveTree();
    Widget& parent = *m_parent;
    invalidateBox(*this);
    markReachStale(*this);
    m_parent = nullptr;
    auto& order = parent.d->layout.flowOrder;
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
    WidgetEngines::current().widgetRemoved(keep);
}

void Widget::removeFromParent()
{
    if (m_parent)
        m_parent->removeChild(*this);
}

/// Only the engines' own lists change here, and no listener is called: the tree is whole when the first one runs.
void Widget::enterTree()
{
    d->drawing.inTree = true;
    WidgetEngines& engines = WidgetEngines::current();
    engines.activityChanged(*this);
    engines.appearanceChanged(*this, Redraw::Widget);
    for (const auto& child : m_children)
        child->enterTree();
}

void Widget::leaveTree()
{
    WidgetEngines& engines = WidgetEngines::current();
    engines.widgetLeaves(*this);
    const auto leave = [&](auto&& self, Widget& widget) -> void {
        widget.d->motion.moving = false;
        widget.d->drawing.inTree = false;
        engines.activityChanged(widget);
        for (const auto& child : widget.m_children)
            self(self, *child);
    };
    leave(leave, *this);
    if (const Widget* focus = engines.keyboardFocus(); focus && isAncestorOf(*focus))
        engines.setKeyboardFocus(nullptr);
}

void Widget::raiseToTop(bool recursive)
{
    for (Widget* widget = this; widget->m_parent; widget = widget->m_parent) {
        auto& siblings = widget->m_parent->m_children;
        if (siblings.back() != widget) {
            const auto here = std::find(siblings.begin(), siblings.end(), widget);
            std::rotate(here, here + 1, siblings.end());
            WidgetEngines::current().appearanceChanged(*widget, Redraw::Place);
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
    WidgetEngines::current().appearanceChanged(*this, Redraw::Place);
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
}
