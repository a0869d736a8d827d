#pragma once

#include "TestHost.hpp"

#include <Facet/AttributeT.hpp>
#include <Tavola/ContentWidget.hpp>
#include <Tavola/DropListener.hpp>

#include <functional>
#include <vector>

namespace DragTests
{
inline constexpr auto kHover = Tavola::DropEvent::Hover;
inline constexpr auto kValidHover = Tavola::DropEvent::ValidHover;
inline constexpr auto kLeave = Tavola::DropEvent::Leave;
inline constexpr auto kDrop = Tavola::DropEvent::Drop;
using Types = std::vector<std::uint32_t>;

/// Accepts drops, and records the events it receives.
class Bin final : public Trellis::Widget, public Tavola::DropListener
{
public:
    explicit Bin(Trellis::Widget* parent, Vecta::Vector2f location, Vecta::Vector2f size = {300.f, 300.f})
        : Trellis::Widget(parent)
    {
        setCSSType("Bin");
        setLocation(location);
        setSize(size);
    }
    bool dropEvent(const Tavola::DropEvent& event) override
    {
        types.push_back(event.type);
        positions.push_back(event.position);
        widgets.push_back(event.widget ? event.widget->id() : 0);
        return answer ? answer(event) : true;
    }
    bool isInside(Vecta::Vector2f point) const override { return insideEverywhere || Trellis::Widget::isInside(point); }

    Types types;
    std::vector<Vecta::Vector2f> positions;
    std::vector<long> widgets;
    std::function<bool(const Tavola::DropEvent&)> answer;
    bool insideEverywhere = false;
};

/// Repeated hovers as one.
inline Types compact(const Types& types)
{
    Types shown;
    for (const std::uint32_t type : types)
        if (shown.empty() || shown.back() != type)
            shown.push_back(type);
    return shown;
}

inline bool isNear(Vecta::Vector2f a, Vecta::Vector2f b)
{
    return (a - b).length() < 0.01f;
}

inline Bedrock::IntrusivePtr<Bin> addBin(Trellis::Widget& parent, Vecta::Vector2f location, Vecta::Vector2f size = {300.f, 300.f})
{
    return Bedrock::makeIntrusive<Bin>(&parent, location, size);
}

/// A movable card of 100 x 100 pixels, which stays where it is let go.
inline Bedrock::IntrusivePtr<Tavola::ContentWidget> addCard(Trellis::Widget& parent, Vecta::Vector2f location)
{
    auto card = Bedrock::makeIntrusive<Tavola::ContentWidget>(&parent);
    card->setLocation(location);
    card->setSize({100.f, 100.f});
    dynamic_cast<Facet::AttributeT<bool>&>(*card->attribute("inertia")).setValue(false);
    return card;
}

/// A listener of 300 x 300 pixels at (600, 300), and a card of 100 x 100 at (100, 100).
struct BinAndCard
{
    TestSupport::TestHost host;
    const Bedrock::IntrusivePtr<Bin> bin = addBin(host.mainWidget(), {600.f, 300.f});
    const Bedrock::IntrusivePtr<Tavola::ContentWidget> card = addCard(host.mainWidget(), {100.f, 100.f});
};
}
