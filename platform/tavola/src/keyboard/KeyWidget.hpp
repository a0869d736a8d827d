#pragma once

#include <Tavola/KeyboardLayout.hpp>
#include <Trellis/TextWidget.hpp>

#include <functional>

namespace Tavola
{
/// A key of a keyboard on the table. It acts when a finger comes down and takes every finger for itself, so that several
/// hands can type at once. Gaps between keys belong to the nearest key.
class KeyWidget final : public Trellis::TextWidget
{
public:
    enum class Lit {
        No,
        Once,  ///< in force for the next letter
        Locked ///< in force until it is pressed again
    };

    KeyWidget(Trellis::Widget* keyboard, KeyboardKey key);
    ~KeyWidget() override;

    /// Called at each finger that comes down; cleared by the keyboard when the key leaves it.
    std::function<void(KeyWidget&)> onPress;
    /// Called when the last finger has left.
    std::function<void(KeyWidget&)> onRelease;

    [[nodiscard]] const KeyboardKey& key() const noexcept { return m_key; }
    [[nodiscard]] bool isPressed() const noexcept { return m_fingers > 0; }
    /// Pixels outside the key's rectangle that count as the key.
    void setReach(float reachPx) { m_reachPx = reachPx; }
    void setLit(Lit lit);
    /// Once a frame: fingers may have been taken away without a word, by a space that fades out for instance.
    void checkFingers();

    /// Seconds of table time at which the key acts again while it is held; 0 when it does not.
    double repeatAt = 0.0;

    [[nodiscard]] bool isInside(Vecta::Vector2f point) const override;
    [[nodiscard]] bool shouldGrab(Trellis::GrabManager& grabManager, Tactile::TrackedObject object) const override;
    void renderContent(Lantern::RenderContext& context) const override;

private:
    void fingerDown();
    void fingerUp();
    void letGo();
    void look();

    KeyboardKey m_key;
    int m_fingers = 0;
    float m_reachPx = 0.f;
    Lit m_lit = Lit::No;
};
}
