#pragma once

#include "menu/MenuFile.hpp"

#include <Trellis/Widget.hpp>

#include <functional>

namespace Tavola
{
enum class MenuStyle {
    Ring, ///< entries stand round the place where the menu was opened
    List  ///< entries stand below one another
};

/// One level of a menu as it stands on the table: its entries, and a button that closes it. CSS type "ContentMenuNode", class
/// "ring" or "list". Entries have the class "menu-entry" (further ones while they show: "pressed" under a finger, "open" while
/// the level they lead to is open, "has-entries" when they lead to one); in them are the classes "menu-icon" and "menu-text".
/// The button has the class "menu-close". Cards pass through it. Main thread only.
class ContentMenuNode final : public Trellis::Widget
{
public:
    /// What is told of a tap; neither is called once the node is gone.
    struct Handlers
    {
        std::function<void(ContentMenuNode& node, std::size_t entry)> entryTapped;
        std::function<void(ContentMenuNode& node)> closeTapped;
    };

    /// `entries` belong to `menu`.
    ContentMenuNode(Trellis::Widget* parent, MenuStyle style, std::shared_ptr<const Menu> menu,
                    const std::vector<MenuEntry>& entries, Handlers handlers);
    ~ContentMenuNode() override;

    [[nodiscard]] const std::vector<MenuEntry>& entries() const noexcept { return m_entries; }
    /// Stands the entries in their places; once the node is in the tree and has its styles.
    void arrange();
    void setOpen(std::size_t entry, bool open);

    /// The centre, in this node's coordinates, of something that is put beside an entry without covering it.
    [[nodiscard]] Vecta::Vector2f placeBeside(std::size_t entry, Vecta::Vector2f size) const;
    /// Grows out of `center` (parent's coordinates). With `keepOnTable` the first frame moves it inside the table's edge, when
    /// it is known how it was turned.
    void open(Vecta::Vector2f center, float seconds, bool keepOnTable);

    bool shouldGrab(Trellis::GrabManager& grabManager, Tactile::TrackedObject object) const override;
    void update(const Trellis::FrameInfo& frame) override;

private:
    using WidgetPtr = Bedrock::IntrusivePtr<Trellis::Widget>;

    void addEntry(const MenuEntry& entry);
    void addCloseButton();
    void arrangeRing();

    MenuStyle m_style;
    std::shared_ptr<const Menu> m_menu;
    const std::vector<MenuEntry>& m_entries;
    Handlers m_handlers;
    std::vector<WidgetPtr> m_entryWidgets;
    WidgetPtr m_closeButton;
    Facet::AttributeT<float> m_gap{this, "entry-gap", 10.f};            ///< px between the entries of a ring
    Facet::AttributeT<float> m_innerRadius{this, "inner-radius", 74.f}; ///< px that a ring leaves free in its middle
};
}
