#pragma once

#include "Table.hpp"

namespace PluginTest
{
constexpr double kDegree = kPi / 180.0;

inline constexpr Vecta::Vector2f kCorner{100.f, 50.f}; ///< of an item

struct TrackerOptions
{
    bool follow = true;
    bool dismiss = false;
    float offsetDegrees = 90.f;
    bool reverse = false;
};

/// A card on the table, an item under the main widget, and trackers made by hand.
struct TrackerTable : Table
{

    Bedrock::IntrusivePtr<FolderItem> item = Bedrock::makeIntrusive<FolderItem>();
    Bedrock::IntrusivePtr<Tavola::MarkerTrackerOperator> tracker;
    int dismissals = 0;
    std::function<void()> whenDismissed;
    Bedrock::IntrusivePtr<Tavola::ContentMenuWidget> menu; ///< null until addMenuNode
    Tavola::ContentMenuWidget::NodeId node = 0;

    explicit TrackerTable(float cardRotation = 0.f)
    {
        addFolder();
        host.mainWidget().addChild(item);
        item->setLocation({500.f, 300.f});
        putCard(cardRotation);
    }
    Bedrock::IntrusivePtr<Tavola::MarkerTrackerOperator> make(const TrackerOptions& options = {})
    {
        const auto action = [this] {
            ++dismissals;
            if (whenDismissed)
                whenDismissed();
        };
        return Bedrock::makeIntrusive<Tavola::MarkerTrackerOperator>(*card(id), options.follow, options.dismiss, *folder, action,
                                                                     options.offsetDegrees, options.reverse);
    }
    /// A menu on the table with one node at the card.
    void addMenuNode()
    {
        addMenu(kRelative);
        const auto menuComponent = std::dynamic_pointer_cast<Tavola::WidgetComponent>(component->assignments(kRelative).front());
        menu = Bedrock::dynamicPointerCast<Tavola::ContentMenuWidget>(menuComponent->createContentWidget());
        host.mainWidget().addChild(menu);
        node = menu->prepare(kCard);
        REQUIRE(node != 0);
        REQUIRE(menu->nodeWidget(node));
    }
    void trackNode(const TrackerOptions& options = {})
    {
        tracker = make(options);
        tracker->setMenuNode(*menu, node);
        menu->addOperator(tracker);
    }
    /// A tracker at work on the item.
    void track(const TrackerOptions& options = {})
    {
        tracker = make(options);
        tracker->setWidget(*item);
        item->addOperator(tracker);
    }
};

/// The place of a point that is fixed to a card, after the card has moved and turned.
[[nodiscard]] inline Vecta::Vector2f carried(Vecta::Vector2f point, Vecta::Vector2f cardBefore, Vecta::Vector2f cardAfter,
                                             double turn)
{
    return (point - cardBefore).rotated(float(turn)) + cardAfter;
}
}
