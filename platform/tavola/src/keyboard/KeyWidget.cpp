#include "keyboard/KeyWidget.hpp"

#include "keyboard/KeyIcon.hpp"
#include "shared/AttributeDefaults.hpp"

#include <algorithm>

namespace Tavola
{
namespace
{
using Action = KeyboardKey::Action;

const char* className(Action action)
{
    switch (action) {
    case Action::Text: return "key-letter";
    case Action::Dead: return "key-dead";
    case Action::Space: return "key-space";
    case Action::Shift: return "key-shift";
    case Action::Backspace: return "key-backspace";
    case Action::Enter: return "key-enter";
    case Action::Symbols: return "key-symbols";
    case Action::Language: return "key-language";
    case Action::Left: return "key-left";
    case Action::Right: return "key-right";
    case Action::Hide: return "key-hide";
    case Action::Gap: break;
    }
    return "key-gap";
}

struct KeyColors
{
    const char* ground;
    const char* pressedGround;
    const char* sign;
};

KeyColors colorsOf(Action action, ShiftState::Mode lit)
{
    if (lit != ShiftState::Mode::Off)
        return {"#dfe6ee", "#ffffff", "#1c232c"};
    switch (action) {
    case Action::Text:
    case Action::Space: return {"#4a5563", "#8fa3ba", "#f6f8fa"};
    case Action::Dead: return {"#4a5563", "#8fa3ba", "#cfdae8"};
    case Action::Enter: return {"#3f82d8", "#8ab9f5", "#ffffff"};
    default: return {"#333c47", "#74879c", "#d5dde6"};
    }
}

constexpr float kIconShare = 0.38f; ///< of the key's height
}

KeyWidget::KeyWidget(Trellis::Widget* keyboard, KeyboardKey key) : Trellis::TextWidget(keyboard), m_key(std::move(key))
{
    setCSSType(QByteArrayLiteral("KeyWidget"));
    addCSSClass(QByteArrayLiteral("key"));
    addCSSClass(className(m_key.action));
    if (m_key.width > 1.f)
        addCSSClass(QByteArrayLiteral("key-wide"));
    setDefaults(*this,
                {{"position", "absolute"},
                 {"text-align", "center"},
                 {"vertical-align", "middle"},
                 {"max-lines", "1"},
                 {"border-radius", "8px"}});
    setHoldsFingers(true);
    updateColors();
    eventAddListener("finger-down", [this] { fingerDown(); });
    eventAddListener("finger-up", [this] { fingerUp(); });
}

KeyWidget::~KeyWidget() = default;

void KeyWidget::fingerDown()
{
    ++m_fingers;
    setPseudoClass(QByteArrayLiteral("pressed"), true);
    updateColors();
    if (const auto call = onPress)
        call(*this);
}

void KeyWidget::fingerUp()
{
    if (m_fingers > 0 && --m_fingers == 0)
        release();
}

void KeyWidget::checkFingers()
{
    if (m_fingers == 0 || isHeld())
        return;
    m_fingers = 0;
    release();
}

void KeyWidget::release()
{
    repeatAt = 0.0;
    setPseudoClass(QByteArrayLiteral("pressed"), false);
    updateColors();
    if (const auto call = onRelease)
        call(*this);
}

void KeyWidget::setLit(ShiftState::Mode lit)
{
    if (m_lit == lit)
        return;
    m_lit = lit;
    setPseudoClass(QByteArrayLiteral("lit"), lit != ShiftState::Mode::Off);
    setPseudoClass(QByteArrayLiteral("locked"), lit == ShiftState::Mode::Locked);
    updateColors();
    requestRedraw();
}

/// The colours that show where no style sheet sets others.
void KeyWidget::updateColors()
{
    const KeyColors now = colorsOf(m_key.action, m_lit);
    setDefault(*this, "background-color", isPressed() ? now.pressedGround : now.ground);
    setDefault(*this, "color", now.sign);
}

bool KeyWidget::isInside(Vecta::Vector2f point) const
{
    const Vecta::Vector2f extent = size();
    return point.x >= -m_reachPx && point.y >= -m_reachPx && point.x < extent.x + m_reachPx && point.y < extent.y + m_reachPx;
}

bool KeyWidget::shouldGrab(Trellis::GrabManager& grabManager, Tactile::TrackedObject object) const
{
    // A card that is put down on a key goes to the widget below the keyboard.
    return object.isFinger() && Trellis::TextWidget::shouldGrab(grabManager, object);
}

void KeyWidget::renderContent(Lantern::RenderContext& context) const
{
    Trellis::TextWidget::renderContent(context);
    if (!KeyIcon::has(m_key.action))
        return;
    const auto& color = static_cast<const Facet::AttributeT<Bedrock::Color>&>(*attribute(QByteArrayLiteral("color")));
    const Vecta::Vector2f extent = size();
    KeyIcon::draw(context, m_key.action, {0.f, 0.f, extent.x, extent.y}, std::min(extent.x, extent.y) * kIconShare, color.value(),
                  m_lit == ShiftState::Mode::Locked);
}
}
