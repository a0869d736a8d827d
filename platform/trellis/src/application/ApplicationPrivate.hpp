#pragma once

#include "application/FrameUpdater.hpp"
#include "drawing/DamageTracker.hpp"
#include "drawing/LayerKeeper.hpp"
#include "input/InputRouter.hpp"
#include "layout/LayoutEngine.hpp"
#include "motion/MotionController.hpp"
#include "picture/BackgroundFetch.hpp"
#include "tree/WidgetEngines.hpp"

#include <Trellis/Application.hpp>

#include <memory>
#include <vector>

namespace Trellis
{
class TextEditWidget;

/// The engines, which refer to one another, and the tree that they work on. Declared in an order in which the tree
/// is destroyed before the engines that its widgets report to.
struct Application::Private final : WidgetEngines
{
    explicit Private(Application& application, Vecta::Vector2f size);

    void layOut(const Widget& widget) override { layout.bringUpToDate(widget); }
    [[nodiscard]] Vecta::Vector2f flowSize(const Widget& widget, float availableWidth) override;
    void appearanceChanged(Widget& widget, Redraw extent) override { damage.widgetChanged(widget, extent); }
    void backgroundChanged(Widget& widget) override { fetchBackground(widget); }
    void activityChanged(Widget& widget) override { updater.refresh(widget); }
    void stopMotion(Widget& widget) override { motion.stop(widget); }
    void dropInput(Widget& widget) override { input.dropAllBelow(widget); }
    void widgetLeaves(Widget& widget) override;
    void widgetRemoved(Bedrock::IntrusivePtr<Widget> widget) override;
    [[nodiscard]] double time() const noexcept override { return timeSeconds; }
    [[nodiscard]] Vecta::Vector2f screenScale() const noexcept override { return scale; }
    [[nodiscard]] Widget* keyboardFocus() const noexcept override;
    void setKeyboardFocus(Widget* widget) override { application.setFocusWidget(widget); }
    /// Binds what the style sheets say of fonts, and lays out the texts anew.
    void bindFonts();
    using WidgetEngines::install;
    using WidgetEngines::retire;

    Application& application;
    Vecta::Vector2f sizePx;
    Vecta::Vector2f scale{1.f, 1.f}; ///< of the screen
    double timeSeconds = 0.0;
    long frameNumber = 0;
    bool inFrame = false;

    LayoutEngine layout{*this};
    LayerKeeper layers;
    DamageTracker damage;
    MotionController motion{*this};
    FrameUpdater updater{motion};
    Bedrock::IntrusivePtr<Widget> mainLayer;
    InputRouter input;

    TextEditWidget* focus = nullptr;
    std::vector<Bedrock::IntrusivePtr<Widget>> removed;
    std::vector<Bedrock::IntrusivePtr<Widget>> dying;
};
}
