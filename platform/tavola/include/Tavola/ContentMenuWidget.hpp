#pragma once

#include <Trellis/Widget.hpp>

#include <memory>

namespace Tavola
{
struct ComponentUse;

/// A menu of content: opens nodes at points of the table; a node shows entries, and an entry opens a further node beside it or
/// launches content. Any number of nodes may be open at once, for several hands. CSS type "ContentMenuWidget"; attributes
/// "menu" (a JSON file), "menu-style" (ring or list), "content-opening-duration" (seconds). docs/presentations.md describes the
/// file and the CSS types and classes of the parts.
///
/// Nodes of the first level are children of the menu and can be moved; further nodes are children of the node they were opened
/// from. Launched content becomes a child of the host's main widget, turned like its node, with the class of temporary content
/// and the pseudo-classes of the menu's language, such as "lang(de)".
///
/// A mistake in the file costs the smallest piece and is a warning with file and place; an entry that opens nothing is left
/// out. Main thread only.
class TAVOLA_EXPORT ContentMenuWidget : public Trellis::Widget
{
public:
    using NodeId = unsigned long; ///< 0 is no node

    /// Reads the files of all menus (components called "content-menu") in a component, in its slots and in what those menus
    /// launch, so that no card waits for the disk and mistakes are reported when the table opens. A file that changes later is
    /// read when its menu next opens. Needs the application.
    static void readFiles(const ComponentUse& use);

    explicit ContentMenuWidget(Trellis::Widget* parent = nullptr);
    ~ContentMenuWidget() override;

    /// Opens the menu's first level at a point of this widget's parent, kept inside the table's edge as it is turned in the next
    /// frame. Returns the node that stands there; 0 when the menu has no entries.
    NodeId prepare(Vecta::Vector2T<float> point);
    /// Fades out a node with everything opened from it. Unknown ids are ignored. A prepared menu removes itself when its last
    /// node has closed.
    void closeNode(NodeId node);
    /// The widget that stands for a node, or null once it is closed.
    [[nodiscard]] Bedrock::IntrusivePtr<Trellis::Widget> nodeWidget(NodeId node) const;

    void update(const Trellis::FrameInfo& frame) override;

private:
    struct MenuPrivate;
    std::unique_ptr<MenuPrivate> d;
};
}
