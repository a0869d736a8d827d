#pragma once

#include "keyboard/ShiftState.hpp"

#include <Tavola/KeyboardLayout.hpp>
#include <Trellis/TextWidget.hpp>

#include <functional>

namespace Tavola
{
/// A key of a keyboard on the table. It acts when a finger comes down and grabs every finger for itself, so that several hands
/// can type at once. Gaps between keys belong to the nearest key. Main thread only.
class KeyWidget final : public Trellis::TextWidget
{
public:
    KeyWidget(Trellis::Widget* keyboard, KeyboardKey key);
    ~KeyWidget() override;

    /// Called for each finger that comes down; cleared by the keyboard before it removes the key. May remove the key.
    std::function<void(KeyWidget&)> onPress;
    /// Called when the last finger has left. May remove the key.
    std::function<void(KeyWidget&)> onRelease;

    [[nodiscard]] const KeyboardKey& key() const noexcept { return m_key; }
    [[nodiscard]] bool isPressed() const noexcept { return m_fingers > 0; }
    /// Pixels outside the key's rectangle that count as the key.
    void setReach(float reachPx) { m_reachPx = reachPx; }
    /// Marks the key as in force: pseudo-class "lit", and "locked" for a locked shift.
    void setLit(ShiftState::Mode mode);
    /// Releases the key when its fingers were taken away without an event, by a space that fades out for instance. Once a frame.
    void checkFingers();

    /// Seconds of table time at which the key acts again while it is held; 0 when it does not repeat.
    double repeatAt = 0.0;

    [[nodiscard]] bool isInside(Vecta::Vector2f point) const override;
    [[nodiscard]] bool shouldGrab(Trellis::GrabManager& grabManager, Tactile::TrackedObject object) const override;
    void renderContent(Lantern::RenderContext& context) const override;

private:
    void fingerDown();
    void fingerUp();
    void release();
    void updateColors();

    KeyboardKey m_key;
    int m_fingers = 0;
    float m_reachPx = 0.f;
    ShiftState::Mode m_lit = ShiftState::Mode::Off;
};
}
