#pragma once

#include <Trellis/Widget.hpp>

namespace Trellis
{
/// How much of the picture changes with a widget. What is inside keeps its own place in it in any case, unless it is reported
/// as well.
enum class Redraw {
    Widget,  ///< the widget's own appearance or size
    Place,   ///< it moved, turned, faded, came or left, with everything in it
    Scale,   ///< as Place, and everything in it may have another size in the scene
    Children ///< most of its children moved: all that it covers is drawn anew, and their moves need not be reported
};

/// The engines above the tree as the tree sees them: widgets report what changed, and ask for what only an engine can do.
/// Implemented by the application, one for the process. Without an application trees are laid out, and nothing else. Main
/// thread only.
class WidgetEngines
{
public:
    [[nodiscard]] static WidgetEngines& current() noexcept { return s_current ? *s_current : withoutApplication(); }

    WidgetEngines() = default;
    WidgetEngines(const WidgetEngines&) = delete;
    WidgetEngines& operator=(const WidgetEngines&) = delete;

    /// Brings the layout of the tree that the widget belongs to up to date; nothing while a layout is under way or held.
    virtual void layOut(const Widget& widget) = 0;
    /// The size of the children's flow in a content box of that width.
    [[nodiscard]] virtual Vecta::Vector2f flowSize(const Widget& widget, float availableWidth) = 0;
    /// The widget must be drawn anew. Ignored for widgets outside the application's tree.
    virtual void appearanceChanged(Widget& widget, Redraw extent) = 0;
    /// Other files are to be shown behind the widget: fetches them.
    virtual void backgroundChanged(Widget& widget) = 0;
    /// The widget began or ceased to need a visit in each frame.
    virtual void activityChanged(Widget& widget) = 0;
    /// Ends the slide of the widget, and what is left of its speed.
    virtual void stopMotion(Widget& widget) = 0;
    /// Ends silently what fingers and markers do with the widget and everything in it.
    virtual void dropInput(Widget& widget) = 0;
    /// The widget with everything in it leaves the application's tree; nothing of it is destroyed yet.
    virtual void widgetLeaves(Widget& widget) = 0;
    /// The widget was taken from its parent: it is kept until the end of the frame.
    virtual void widgetRemoved(Bedrock::IntrusivePtr<Widget> widget) = 0;
    /// Seconds of frame time since the application began.
    [[nodiscard]] virtual double time() const noexcept = 0;
    /// Pixels of the screen that a pixel of the table takes in each direction; above 0.
    [[nodiscard]] virtual Vecta::Vector2f screenScale() const noexcept = 0;
    /// The widget that the keyboard serves, or null.
    [[nodiscard]] virtual Widget* keyboardFocus() const noexcept = 0;
    virtual void setKeyboardFocus(Widget* widget) = 0;

protected:
    ~WidgetEngines() = default;
    /// Widgets reach these engines from now on. There is one application (asserted).
    void install() noexcept;
    /// Widgets reach them no more. To be called before the engines are destroyed.
    void retire() noexcept;

private:
    /// Defined above the tree, where the engines are.
    [[nodiscard]] static WidgetEngines& withoutApplication() noexcept;

    static WidgetEngines* s_current;
};
}
