#pragma once

#include <Trellis/Widget.hpp>

#include <memory>

namespace Tavola
{
struct ComponentUse;

/// A menu of content: opens nodes at points of the table; a node shows entries, and an entry opens a further node beside it or
/// launches content. Any number of nodes may be open at once, for several hands. CSS type "ContentMenuWidget". Main thread only.
///
/// Attributes: "menu" (a JSON file), "menu-style" (ring or list), "content-opening-duration" (0.3 seconds).
///
/// The file:
///     { "components": { ... },                                     // what may be used below, see ComponentReader
///       "entries": [
///         { "text": "Map", "icon": "icons/map.png", "content": { "component": "picture", "attributes": { ... } } },
///         { "text": "Rooms", "entries": [ ... ] },                 // a further level
///         { "text": "Artists", "menu": "artists.json" } ] }        // a further level from a file of its own
/// Files are named relative to the menu's file. What is wrong in it costs the smallest piece and is a warning with file and
/// place; an entry that has nothing to open is left out.
///
/// A node is a widget of CSS type "ContentMenuNode" (class "ring" or "list"; the attributes "entry-gap" and "inner-radius" of a
/// ring are pixels). In it are widgets of class "menu-entry" (and "has-entries", "open", "pressed"), with "menu-icon",
/// "menu-text" and "menu-more" inside, and one of class "menu-close". The first level is a child of the menu and can be moved;
/// further levels are children of the node they were opened from, and go with it. Launched content becomes a child of the
/// host's main widget with the class of temporary content, turned like its node.
class TAVOLA_EXPORT ContentMenuWidget : public Trellis::Widget
{
public:
    using NodeId = unsigned long; ///< 0 is no node

    /// Reads the files of all menus among a component, what is in its slots and what those menus launch, so that no card
    /// has to wait for the disk and a mistake is told when the table opens. A file that changes later is read when its menu
    /// next opens. For components that are used as "content-menu". Needs the application.
    static void readFiles(const ComponentUse& use);

    explicit ContentMenuWidget(Trellis::Widget* parent = nullptr);
    ~ContentMenuWidget() override;

    /// Opens the menu's first level at a point of this widget's parent, kept inside the table's edge as it is turned in the next
    /// frame. Returns the node that stands there; 0 when the menu has no entries.
    NodeId prepare(Vecta::Vector2T<float> point);
    /// Fades a node and everything opened from it out. Unknown ids are ignored. A menu whose last node has closed, and that
    /// had been prepared, removes itself.
    void closeNode(NodeId node);
    /// The widget that stands for a node, or null once it is closed.
    [[nodiscard]] Bedrock::IntrusivePtr<Trellis::Widget> nodeWidget(NodeId node) const;

    void update(const Trellis::FrameInfo& frame) override;

private:
    struct MenuPrivate;
    std::unique_ptr<MenuPrivate> d;
};
}
