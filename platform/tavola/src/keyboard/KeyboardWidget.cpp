#include <Tavola/KeyboardWidget.hpp>

#include "keyboard/KeyboardPrivate.hpp"
#include "shared/AttributeDefaults.hpp"
#include "shared/TableGeometry.hpp"

#include <Bedrock/Trace.hpp>
#include <Tavola/InputFieldWidget.hpp>
#include <Tavola/Tavola.hpp>
#include <Tavola/UserInterface.hpp>
#include <Trellis/Application.hpp>
#include <Trellis/FadeAnimator.hpp>
#include <Trellis/FrameInfo.hpp>
#include <Trellis/TextEditWidget.hpp>

namespace Tavola
{
using Bedrock::IntrusivePtr;
using Trellis::Widget;

namespace
{
constexpr float kFadeInSeconds = 0.15f;
constexpr float kFadeOutSeconds = 0.2f;

bool isTrue(const Widget& widget, const char* attribute)
{
    return widget.attribute(attribute)->toText() == QLatin1String("true");
}

/// The widget that a visitor moves to move the field; the field's parent where none can be moved.
Widget* carrierOf(InputFieldWidget& field, bool& moves)
{
    Widget* found = nullptr;
    for (Widget* widget = &field; widget; widget = widget->parent())
        if (isTrue(*widget, "movable") || isTrue(*widget, "rotatable"))
            found = widget;
    moves = found != nullptr;
    return found ? found : field.parent();
}
}

IntrusivePtr<KeyboardWidget> KeyboardWidget::open(InputFieldWidget& field)
{
    if (!isOnTable(field))
        return nullptr;
    bool moves = false;
    Widget* const carrier = carrierOf(field, moves);
    if (!carrier)
        return nullptr;
    const IntrusivePtr<KeyboardWidget> keyboard(new KeyboardWidget(field));
    keyboard->d->standsByField = !moves;
    carrier->addChild(keyboard);
    keyboard->postConstruct();
    keyboard->d->build();
    keyboard->d->listen();
    keyboard->d->place();
    Trellis::FadeAnimator::fadeIn(*keyboard, kFadeInSeconds, 0.f);
    return keyboard;
}

KeyboardWidget::KeyboardWidget(InputFieldWidget& field) : Widget(nullptr), d(std::make_unique<Private>(*this, field))
{
    setCSSType(QByteArrayLiteral("KeyboardWidget"));
    setDefaults(*this,
                {{"position", "absolute"},
                 {"background-color", "#20272ff5"},
                 {"border-color", "#4b5664"},
                 {"border-width", "1.5px"},
                 {"border-radius", "16px"}});
    setHoldsFingers(true);
    setUpdating(true);
}

KeyboardWidget::~KeyboardWidget()
{
    d->dropKeys();
    d->endEditingSoon();
}

IntrusivePtr<InputFieldWidget> KeyboardWidget::field() const
{
    return d->field.lock();
}

bool KeyboardWidget::isOpen() const noexcept
{
    return !d->closing;
}

void KeyboardWidget::close()
{
    if (d->closing)
        return;
    const IntrusivePtr<Widget> keep(this);
    d->closing = true;
    d->stopListening();
    Trellis::FadeAnimator::fadeOutAndDelete(*this, kFadeOutSeconds, 0.f);
    if (const auto input = d->field.lock()) {
        const auto editor = input->editor();
        // Editing goes on where the field has another keyboard by now.
        if (!input->keyboard())
            editor->endEditing();
    }
}

QString KeyboardWidget::layoutName() const
{
    return d->shownLayout;
}

bool KeyboardWidget::showsSymbols() const noexcept
{
    return d->symbols;
}

Widget* KeyboardWidget::findKey(const QString& text) const
{
    for (const auto& key : d->keys)
        if (d->typed(key->key()) == text)
            return key.get();
    return nullptr;
}

Widget* KeyboardWidget::findKey(KeyboardKey::Action action) const
{
    for (const auto& key : d->keys)
        if (key->key().action == action)
            return key.get();
    return nullptr;
}

bool KeyboardWidget::shouldGrab(Trellis::GrabManager& grabManager, Tactile::TrackedObject object) const
{
    return object.isFinger() && Widget::shouldGrab(grabManager, object);
}

void KeyboardWidget::update(const Trellis::FrameInfo& frame)
{
    Widget::update(frame);
    if (d->closing)
        return;
    if (!d->isServing()) {
        close();
        return;
    }
    if (d->dirty || d->wantedLayout() != d->shownLayout)
        d->build();
    d->place();
    d->repeat(frame.time());
}

void KeyboardWidget::attributeChanged(Facet::Attribute& attribute)
{
    Widget::attributeChanged(attribute);
    if (d && (&attribute == &d->keySize || &attribute == &d->keyGap))
        d->dirty = true;
}
}
