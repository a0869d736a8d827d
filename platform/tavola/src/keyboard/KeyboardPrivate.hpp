#pragma once

#include "keyboard/DeadKeys.hpp"
#include "keyboard/KeyWidget.hpp"
#include "keyboard/KeyboardStand.hpp"
#include "keyboard/ShiftState.hpp"

#include <Facet/AttributeT.hpp>
#include <Tavola/InputFieldWidget.hpp>
#include <Tavola/KeyboardWidget.hpp>
#include <Trellis/TextEditWidget.hpp>

#include <QString>

#include <vector>

namespace Tavola
{
/// The state of a keyboard: its keys, what they type, and the field that is written in.
struct KeyboardWidget::Private
{
    Private(KeyboardWidget& keyboard, InputFieldWidget& input);

    // ---- Keys ---------------------------------------------------------------------------------------------------------
    /// Makes the keys anew: another layout, level or size.
    void build();
    void dropKeys();
    /// Writes on the keys what they type, and marks those in force (shift, an accent).
    void label();
    /// What the key types now; for keys that type nothing what is written on them.
    [[nodiscard]] QString typed(const KeyboardKey& key) const;
    [[nodiscard]] QString wantedLayout() const;
    [[nodiscard]] float keySizePx() const;

    // ---- Typing -------------------------------------------------------------------------------------------------------
    void pressed(KeyWidget& key);
    void released(KeyWidget& key);
    void act(const KeyboardKey& key);
    void nextLanguage();
    /// After a letter: ends shift for one letter.
    void letterDone();
    void insert(const QString& text);
    void sendKey(int key);
    void repeat(double timeSeconds);

    // ---- The field ------------------------------------------------------------------------------------------------------
    void listen();
    void stopListening();
    /// For a keyboard that is being destroyed: ends editing after the update, if its field exists then and has no other keyboard.
    void endEditingSoon();
    /// Whether the field exists, is visible, and lies in the widget that the keyboard lies in.
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
    QString shownLayout;   ///< the name asked for, also where there is no such layout
    bool dirty = true;
    bool closing = false;
    bool symbols = false;
    ShiftState shift;
    DeadKeys accents;
    KeyboardStand stand;
};
}
