#pragma once

#include "care/CareAttributes.hpp"
#include "care/CareStyles.hpp"
#include "care/TableCare.hpp"

#include <Facet/AttributeT.hpp>
#include <Tavola/DropListener.hpp>
#include <TestHost.hpp>

#include <doctest/doctest.h>

/// A drop area that shows hovers and makes a tile of each drop, as a plug-in's does. The whole of what holds it takes drops.
class DropArea final : public Trellis::Widget, public Tavola::DropListener
{
public:
    explicit DropArea(Trellis::Widget* parent) : Trellis::Widget(parent) {}

    bool isInside(Vecta::Vector2f point) const override { return parent()->isInside(mapToParent(point)); }
    bool dropEvent(const Tavola::DropEvent& event) override
    {
        ++events;
        if (event.type == Tavola::DropEvent::Drop) {
            if (refuses)
                return false;
            const auto tile = Bedrock::makeIntrusive<Trellis::Widget>(this);
            tile->addCSSClass("tile");
            return true;
        }
        const bool isHovering = event.type != Tavola::DropEvent::Leave;
        parent()->setPseudoClass("valid-hover", isHovering);
        event.widget->setPseudoClass("valid-drop", isHovering);
        return true;
    }

    Facet::AttributeT<bool> acceptDrops{this, "accept-drops", true};
    int events = 0;
    bool refuses = false;
};

/// A table with the host's care, a space with a drop area on its right, and content on its left.
struct DragTable
{
    DragTable()
    {
        host.style(Host::careStyleSheet(0.55f));
        host.style(
            ".space { width: 400px; height: 400px; } .content { width: 200px; height: 100px; movable: true; inertia: false; }"
            ".tile { width: 60px; height: 60px; movable: true; inertia: false; }");
        host.mainWidget().addOperator(Bedrock::makeIntrusive<Host::TableCare>(Host::CareSettings(), 0.55f));
        content = &add("content", {300.f, 300.f});
        source(*content);
        space = &add("space", {1200.f, 300.f});
        area = Bedrock::makeIntrusive<DropArea>(space);
        area->postConstruct();
        area->setSize({300.f, 300.f});
        host.frame();
    }

    Trellis::Widget& add(const char* cssClass, Vecta::Vector2f location)
    {
        const auto widget = Bedrock::makeIntrusive<Trellis::Widget>();
        widget->postConstruct();
        widget->addCSSClass(cssClass);
        host.mainWidget().addChild(widget);
        widget->setLocation(location);
        return *widget;
    }
    /// Makes the widget one that can be collected.
    void source(Trellis::Widget& widget)
    {
        sources.push_back(std::make_unique<Facet::AttributeT<QString>>(&widget, "source", QStringLiteral("a.png")));
    }
    /// A tile in the area, as what was dropped there before.
    Trellis::Widget& addTile()
    {
        const auto tile = Bedrock::makeIntrusive<Trellis::Widget>(area.get());
        tile->addCSSClass("tile");
        tile->postConstruct();
        host.frame();
        return *tile;
    }
    std::size_t indexOf(const Trellis::Widget& widget)
    {
        const auto& children = host.mainWidget().children();
        for (std::size_t i = 0; i < children.size(); ++i)
            if (children[i].get() == &widget)
                return i;
        FAIL("not on the table");
        return 0;
    }

    Host::CareAttributes attributes; ///< destroyed after the widgets
    TestSupport::TestHost host;
    std::vector<std::unique_ptr<Facet::AttributeT<QString>>> sources;
    Trellis::Widget* content = nullptr;
    Trellis::Widget* space = nullptr;
    Bedrock::IntrusivePtr<DropArea> area;
};
