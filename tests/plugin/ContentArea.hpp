#pragma once

#include "PluginSupport.hpp"
#include "TestHost.hpp"
#include "personalspace/PersonalSpaceContentWidget.hpp"

#include <Vecta/Angle.hpp>

#include <memory>
#include <vector>

namespace PluginTest
{
/// A drop area inside a space at (500, 300) of 400 by 300, which it fills but for a margin of 50 at the top.
struct ContentArea
{
    using ContentWidget = Tavola::PersonalSpaceContentWidget;
    using Contents = Tavola::PersonalSpaceContents;
    using ItemStatus = Contents::ItemStatus;

    TestSupport::TestHost host;
    unsigned long code;
    Bedrock::IntrusivePtr<Trellis::Widget> space{new Trellis::Widget(&host.mainWidget())};
    Bedrock::IntrusivePtr<ContentWidget> widget{new ContentWidget(space.get(), code)};
    std::shared_ptr<Contents> contents = widget->contents();

    explicit ContentArea(unsigned long cardCode = newCode()) : code(cardCode)
    {
        space->setSize({400.f, 300.f});
        space->setLocation({500.f, 300.f});
        widget->setSize({400.f, 250.f});
        widget->setLocation({0.f, 50.f});
    }

    /// Turns space and area each by a quarter about their corners: (x, y) of the area is then (300 - y, x) of the space, and
    /// (500 - x, 600 - y) of the table.
    void turnByQuarters()
    {
        constexpr float kQuarter = Vecta::degreesToRadians(90.f);
        space->setRotation(kQuarter);
        widget->setRotation(kQuarter);
        widget->setLocation({300.f, 0.f});
    }

    template <class Content>
    Bedrock::IntrusivePtr<Content> make()
    {
        return Bedrock::IntrusivePtr<Content>(new Content(&host.mainWidget()));
    }
    bool drop(const Bedrock::IntrusivePtr<Trellis::Widget>& dragged, std::uint32_t type, Vecta::Vector2f position = {10.f, 20.f})
    {
        return widget->dropEvent({dragged, position, type});
    }
    [[nodiscard]] std::vector<Trellis::Widget*> indicators()
    {
        return childrenOfClass(*host.ui().overlayWidget(), "drop-indicator");
    }
    [[nodiscard]] std::vector<Trellis::Widget*> tiles() const { return childrenOfClass(*widget, "container"); }
    [[nodiscard]] Trellis::Widget& tile(std::size_t index = 0) const { return *tiles().at(index); }
    long addItem(ItemStatus status = ItemStatus::Ready)
    {
        Contents::Item item;
        item.widgetId = 77;
        item.status = status;
        return contents->addItem(item);
    }
    [[nodiscard]] ItemStatus status() const { return contents->items().begin()->second.status; }
};

/// Records all events of a content widget, with their payloads.
inline void listenToAll(EventLog& log, Tavola::PersonalSpaceContentWidget& widget)
{
    log.listen(widget, "empty", EventLog::Payload::Int32);
    log.listen(widget, "content-changed", EventLog::Payload::None);
    log.listen(widget, "widget-added", EventLog::Payload::Id);
    log.listen(widget, "widget-removed", EventLog::Payload::Id);
    log.listen(widget, "before-remove-item", EventLog::Payload::Id);
}
}
