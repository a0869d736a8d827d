#pragma once

#include "keyboard/DeadKeys.hpp"
#include "keyboard/KeyWidget.hpp"
#include "keyboard/KeyboardPlacement.hpp"

#include <Facet/AttributeT.hpp>
#include <Tavola/InputFieldWidget.hpp>
#include <Tavola/KeyboardWidget.hpp>
#include <Trellis/TextEditWidget.hpp>

#include <QString>

#include <optional>
#include <vector>

namespace Tavola
{
/// The state of a keyboard.
///
///     shift key:  off ──press──► once ──pressed again at once──► locked ──press──► off
///                  ▲              │ a letter, or pressed again later
///                  └──────────────┘
///     held down while letters are typed, shift ends when it is let go.
struct KeyboardWidget::Private
{
    Private(KeyboardWidget& keyboard, InputFieldWidget& input);

    using Shift = KeyWidget::Lit;

    // ---- Keys ---------------------------------------------------------------------------------------------------------
    /// Makes the keys anew: another layout, level or size.
    void build();
    void dropKeys();
    /// What is written on the keys, and which of them shine.
    void label();
    /// What the key types now; for keys that type nothing what is written on them.
    [[nodiscard]] QString typed(const KeyboardKey& key) const;
    [[nodiscard]] QString wantedLayout() const;
    [[nodiscard]] float keySizePx() const;

    // ---- Typing -------------------------------------------------------------------------------------------------------
    void pressed(KeyWidget& key);
    void released(KeyWidget& key);
    void act(const KeyboardKey& key);
    void actShift();
    void nextLanguage();
    /// After a letter: shift for one letter is over.
    void letterDone();
    void insert(const QString& text);
    void sendKey(int key);
    void repeat(double timeSeconds);

    // ---- The field ------------------------------------------------------------------------------------------------------
    void listen();
    void stopListening();
    /// The keyboard was destroyed by others while its field stands.
    void fieldLeft();
    /// Whether the field is there, in sight, and carried by the widget that the keyboard stands in.
    [[nodiscard]] bool isServing() const;
    void place();

    KeyboardWidget& host;
    Bedrock::IntrusiveWeakPtr<InputFieldWidget> field;
    Bedrock::IntrusiveWeakPtr<Trellis::TextEditWidget> editor; ///< may outlive its field
    bool standsByField = false;                                ///< nothing around the field can be moved
    Facet::Node::ListenerId finishedListener = 0;

    Facet::AttributeT<QString> layoutAttribute;
    Facet::AttributeT<float> keySize;
    Facet::AttributeT<float> keyGap;
    Facet::AttributeT<float> repeatDelay;
    Facet::AttributeT<float> repeatInterval;

    std::vector<Bedrock::IntrusivePtr<KeyWidget>> keys;
    KeyboardLayout layout; ///< a copy: layouts may be replaced
    QString shownLayout;   ///< what was asked for, even where another one had to do
    bool dirty = true;
    bool closing = false;
    bool symbols = false;
    Shift shift = Shift::No;
    double shiftPressedAt = -1.0;
    bool typedWhileShiftHeld = false;
    DeadKeys accents;
    std::optional<KeyboardPlacement::Side> placedSide;
    std::optional<KeyboardPlacement::Situation> placed;
};
}
