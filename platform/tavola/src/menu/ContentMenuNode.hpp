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
/// "ring" or "list"; the classes of its parts are those that ContentMenuWidget describes. Cards pass through it. Owned by the
/// menu or by the node it was opened from. Main thread only.
class ContentMenuNode final : public Trellis::Widget
{
public:
    /// Called for taps; not after the node is destroyed.
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
    /// Places the entries; call it once the node is in the tree and has its styles.
    void arrange();
    void setOpen(std::size_t entry, bool open);

    /// The centre, in this node's coordinates, of something that is put beside an entry without covering it.
    [[nodiscard]] Vecta::Vector2f placeBeside(std::size_t entry, Vecta::Vector2f size) const;
    /// Grows out of `center` (parent's coordinates). With `keepOnTable` the first frame, in which its rotation is final, moves it
    /// inside the table's edge.
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
