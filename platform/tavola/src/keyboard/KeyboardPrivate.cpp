#include "keyboard/KeyboardPrivate.hpp"

#include "keyboard/KeyGrid.hpp"

#include <Bedrock/Trace.hpp>
#include <Tavola/Tavola.hpp>
#include <Tavola/UserInterface.hpp>
#include <Trellis/Application.hpp>
#include <Trellis/TextEditWidget.hpp>

#include <QKeyEvent>

#include <algorithm>

namespace Tavola
{
using Bedrock::IntrusivePtr;
using Trellis::Widget;
using Action = KeyboardKey::Action;

namespace
{
constexpr float kLeastRepeatSeconds = 0.02f;
const QString kFallbackLayout = QStringLiteral("en");

double now()
{
    const auto* const application = Trellis::Application::instance();
    return application ? application->time() : 0.0;
}

bool repeats(Action action)
{
    return action == Action::Backspace || action == Action::Left || action == Action::Right;
}

void setFontSize(Widget& key, float sizePx)
{
    static_cast<Facet::AttributeT<float>&>(*key.attribute(QByteArrayLiteral("font-size"))).setValue(sizePx, Facet::kDefaultLayer);
}
}

KeyboardWidget::Private::Private(KeyboardWidget& keyboard, InputFieldWidget& input)
    : host(keyboard), field(&input), layoutAttribute(&keyboard, QByteArrayLiteral("keyboard-layout")),
      keySize(&keyboard, QByteArrayLiteral("key-size"), 44.f), keyGap(&keyboard, QByteArrayLiteral("key-gap"), 5.f),
      repeatDelay(&keyboard, QByteArrayLiteral("repeat-delay"), 0.5f),
      repeatInterval(&keyboard, QByteArrayLiteral("repeat-interval"), 0.08f)
{
}

// ---- Keys ------------------------------------------------------------------------------------------------------------

QString KeyboardWidget::Private::wantedLayout() const
{
    const auto input = field.lock();
    const auto table = Tavola::instance();
    if (input && input->keyboardLayout().hasValue(Facet::kUserLayer))
        return input->keyboardLayout().value();
    if (!layoutAttribute.value().isEmpty())
        return layoutAttribute.value();
    if (input && !input->keyboardLayout().value().isEmpty())
        return input->keyboardLayout().value();
    if (table && !table->ui()->keyboardLayout().isEmpty())
        return table->ui()->keyboardLayout();
    return kFallbackLayout;
}

float KeyboardWidget::Private::keySizePx() const
{
    const auto table = Tavola::instance();
    const float pitchMm = table ? table->ui()->pixelPitchMm() : UserInterface::kUsualPixelPitchMm;
    return std::max(keySize.value(), kLeastKeyMm / pitchMm);
}

void KeyboardWidget::Private::dropKeys()
{
    // From a copy: ending the fingers may call back.
    const auto dropped = std::move(keys);
    keys.clear();
    for (const auto& key : dropped) {
        key->onPress = nullptr;
        key->onRelease = nullptr;
        key->removeFromParent();
    }
}

void KeyboardWidget::Private::build()
{
    const QString wanted = wantedLayout();
    dirty = false;
    if (wanted != shownLayout) {
        const KeyboardLayout* found = KeyboardLayout::find(wanted);
        if (!found) {
            Bedrock::Trace::warning("KeyboardWidget # There is no keyboard layout \"%s\"; known are %s; \"en\" is used",
                                    qUtf8Printable(wanted), qUtf8Printable(KeyboardLayout::names().join(QLatin1String(", "))));
            found = KeyboardLayout::find(kFallbackLayout);
        }
        if (!layout.name.isEmpty())
            host.removeCSSClass("layout-" + layout.name.toUtf8());
        shownLayout = wanted;
        layout = found ? *found : KeyboardLayout();
        host.addCSSClass("layout-" + layout.name.toUtf8());
    }
    dropKeys();
    const float side = keySizePx();
    const float gap = std::clamp(keyGap.value(), 0.f, side);
    const KeyGrid grid = KeyGrid::of(symbols && !layout.symbols.empty() ? layout.symbols : layout.letters, side, gap);
    for (const KeyGrid::Place& place : grid.keys) {
        auto made = Bedrock::makeIntrusive<KeyWidget>(&host, *place.key);
        made->postConstruct();
        made->setLocation({place.rect.x, place.rect.y});
        made->setSize({place.rect.width, place.rect.height});
        made->setReach(gap / 2.f);
        made->onPress = [this](KeyWidget& widget) { pressed(widget); };
        made->onRelease = [this](KeyWidget& widget) { released(widget); };
        keys.push_back(std::move(made));
    }
    host.setSize(grid.size);
    label();
}

QString KeyboardWidget::Private::typed(const KeyboardKey& key) const
{
    switch (key.action) {
    case Action::Text:
    case Action::Dead: return shift.isOn() ? key.shifted : key.text;
    case Action::Space: return key.text;
    case Action::Language: return layout.label;
    case Action::Symbols: return symbols ? QStringLiteral("ABC") : QStringLiteral("?123");
    default: return {};
    }
}

void KeyboardWidget::Private::label()
{
    const float side = keySizePx();
    for (const auto& key : keys) {
        const Action action = key->key().action;
        const bool isWord = action == Action::Space || action == Action::Language || action == Action::Symbols;
        setFontSize(*key, side * (isWord ? 0.34f : action == Action::Dead ? 0.62f : 0.46f));
        key->setText(action == Action::Space ? layout.title : typed(key->key()));
        if (action == Action::Shift)
            key->setLit(shift.mode());
        else if (action == Action::Dead)
            key->setLit(accents.isPending() && accents.pending() == typed(key->key()) ? ShiftState::Mode::Once
                                                                                      : ShiftState::Mode::Off);
    }
}

// ---- Typing ----------------------------------------------------------------------------------------------------------

void KeyboardWidget::Private::pressed(KeyWidget& widget)
{
    if (closing)
        return;
    const IntrusivePtr<KeyboardWidget> keep(&host);
    const KeyboardKey key = widget.key(); // the widget may go with the level
    if (repeats(key.action))
        widget.repeatAt = now() + double(repeatDelay.value());
    if (Widget* const carrier = host.parent(); carrier && !standsByField)
        carrier->raiseToTop();
    act(key);
}

void KeyboardWidget::Private::released(KeyWidget& widget)
{
    if (widget.key().action == Action::Shift && shift.release())
        label();
}

/// A listener of the change may remove everything, the keyboard included: nothing is touched after it.
void KeyboardWidget::Private::act(const KeyboardKey& key)
{
    switch (key.action) {
    case Action::Text:
    case Action::Space: {
        const QString text = accents.join(typed(key));
        letterDone();
        insert(text);
        return;
    }
    case Action::Dead: {
        const QString text = accents.press(typed(key));
        letterDone();
        if (symbols && accents.isPending()) {
            // The letter that the accent joins comes next.
            symbols = false;
            build();
        }
        insert(text);
        return;
    }
    case Action::Shift: shift.press(now()); return label();
    case Action::Backspace:
        if (accents.isPending()) {
            accents.forget();
            return label();
        }
        return sendKey(Qt::Key_Backspace);
    case Action::Enter:
    case Action::Left:
    case Action::Right: {
        const QString text = accents.release();
        label();
        insert(text);
        return sendKey(key.action == Action::Enter ? Qt::Key_Return : key.action == Action::Left ? Qt::Key_Left : Qt::Key_Right);
    }
    case Action::Symbols:
        symbols = !symbols;
        shift.reset();
        return build();
    case Action::Language: return nextLanguage();
    case Action::Hide: return sendKey(Qt::Key_Escape);
    case Action::Gap: return;
    }
}

void KeyboardWidget::Private::letterDone()
{
    shift.letterTyped(std::any_of(keys.begin(), keys.end(),
                                  [](const auto& key) { return key->key().action == Action::Shift && key->isPressed(); }));
    label();
}

void KeyboardWidget::Private::nextLanguage()
{
    const auto input = field.lock();
    const QStringList names = KeyboardLayout::names();
    if (!input || names.isEmpty())
        return;
    // Kept in the field, so that the keyboard that opens next has it, too.
    input->keyboardLayout().setValue(names.at((names.indexOf(layout.name) + 1) % names.size()));
    build();
}

void KeyboardWidget::Private::insert(const QString& text)
{
    const auto input = field.lock();
    if (!input || text.isEmpty() || closing)
        return;
    input->editor()->insertText(text);
}

void KeyboardWidget::Private::sendKey(int key)
{
    const auto input = field.lock();
    if (!input || closing)
        return;
    QKeyEvent event(QEvent::KeyPress, key, Qt::NoModifier);
    input->editor()->keyPressed(event);
}

void KeyboardWidget::Private::repeat(double timeSeconds)
{
    const IntrusivePtr<KeyboardWidget> keep(&host);
    const double interval = double(std::max(repeatInterval.value(), kLeastRepeatSeconds));
    for (std::size_t i = 0; i < keys.size(); ++i) {
        const auto key = keys[i];
        key->checkFingers();
        // A release ends it, and so does a change of level.
        while (!closing && key->repeatAt > 0.0 && key->isPressed() && key->repeatAt <= timeSeconds && key->parent() == &host) {
            key->repeatAt += interval;
            act(key->key());
        }
    }
}

// ---- The field -------------------------------------------------------------------------------------------------------

void KeyboardWidget::Private::listen()
{
    const auto input = field.lock();
    if (!input)
        return;
    editor = input->editor();
    input->editor()->setOwnKeyboard(true);
    finishedListener = input->editor()->eventAddListener("editing-finished", [this] {
        // Another listener may have begun editing again.
        const auto now = field.lock();
        if (!now || !now->editor()->isEditing())
            host.close();
    });
}

void KeyboardWidget::Private::stopListening()
{
    if (const auto served = editor.lock())
        served->eventRemoveListener(finishedListener);
}

void KeyboardWidget::Private::endEditingSoon()
{
    stopListening();
    if (closing)
        return;
    // After the update: no listener may run while widgets around the field are being destroyed.
    Facet::Node::invokeAfterUpdate([weak = field] {
        const auto input = weak.lock();
        if (input && !input->keyboard())
            input->editor()->endEditing();
    });
}

bool KeyboardWidget::Private::isServing() const
{
    const auto input = field.lock();
    const Widget* const carrier = host.parent();
    return input && carrier && carrier->isAncestorOf(*input) && input->isVisible();
}

void KeyboardWidget::Private::place()
{
    const auto input = field.lock();
    const Widget* const carrier = host.parent();
    if (input && carrier)
        stand.follow(host, *carrier, standsByField ? static_cast<const Widget&>(*input) : *carrier, *input);
}
}
