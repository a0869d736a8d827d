#pragma once

#include <Trellis/Widget.hpp>

#include <QString>

#include <memory>

namespace Tavola
{
/// A menu of content: opens nodes at points of the table; each node shows entries, an entry opens a further node or
/// launches content. Several nodes may be open at once, for several hands. CSS type "ContentMenuWidget". Main thread only.
///
/// Attributes: "menu" (a JSON file), "menu-style" (ring or list), "content-opening-duration" (seconds).
///
/// The file is an object with "entries"; an entry has "text", "icon" (a file), and either "entries" (a further level) or
/// "content" (a component as in a presentation). Files are named relative to the menu's file. What is wrong in it costs the
/// smallest piece and is a warning with file and place.
///
/// A node is a widget of CSS type "ContentMenuNode" with children of class "menu-entry"; it is a child of the menu.
class TAVOLA_EXPORT ContentMenuWidget : public Trellis::Widget
{
public:
    using NodeId = unsigned long; ///< 0 is no node

    explicit ContentMenuWidget(Trellis::Widget* parent = nullptr);
    ~ContentMenuWidget() override;

    /// Opens the menu's first level at a point of this widget's parent, and returns the node that stands there; 0 when the
    /// menu has no entries.
    NodeId prepare(Vecta::Vector2T<float> point);
    /// Fades a node and everything opened from it out. Unknown ids are ignored. A menu whose last node has closed, and that
    /// had been prepared, removes itself.
    void closeNode(NodeId node);
    /// The widget that stands for a node, or null once it is closed.
    [[nodiscard]] Bedrock::IntrusivePtr<Trellis::Widget> nodeWidget(NodeId node) const;

protected:
    void attributeChanged(Facet::Attribute& attribute) override;

private:
    struct MenuPrivate;
    std::unique_ptr<MenuPrivate> d;
};
}
