#include "layout/LayoutEngine.hpp"
#include "tree/WidgetEngines.hpp"

namespace Trellis
{
namespace
{
/// Lays trees out that have no application. Nothing is drawn, touched or moved there, and no time passes.
class BareEngines final : public WidgetEngines
{
public:
    void layOut(const Widget& widget) override { m_layout.bringUpToDate(widget); }
    Vecta::Vector2f flowSize(const Widget& widget, float availableWidth) override
    {
        return m_layout.flowSize(widget, availableWidth);
    }
    void appearanceChanged(Widget&, Redraw) override {}
    void backgroundChanged(Widget&) override {}
    void activityChanged(Widget&) override {}
    void stopMotion(Widget&) override {}
    void dropInput(Widget&) override {}
    void widgetLeaves(Widget&) override {}
    void widgetRemoved(Bedrock::IntrusivePtr<Widget>) override {}
    [[nodiscard]] double time() const noexcept override { return 0.0; }
    [[nodiscard]] Vecta::Vector2f screenScale() const noexcept override { return {1.f, 1.f}; }
    [[nodiscard]] Widget* keyboardFocus() const noexcept override { return nullptr; }
    void setKeyboardFocus(Widget*) override {}

private:
    LayoutEngine m_layout{*this};
};
}

WidgetEngines& WidgetEngines::withoutApplication() noexcept
{
    // Never destroyed: widgets of static objects are destroyed late.
    static WidgetEngines& engines = *new BareEngines;
    return engines;
}
}
