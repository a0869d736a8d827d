#include <Tavola/InputFieldWidget.hpp>

#include "shared/AttributeDefaults.hpp"

#include <Bedrock/PersonalTexts.hpp>
#include <Facet/AttributeT.hpp>
#include <Tavola/KeyboardWidget.hpp>
#include <Tavola/Tavola.hpp>
#include <Tavola/TooltipWidget.hpp>
#include <Tavola/UserInterface.hpp>
#include <Trellis/Application.hpp>
#include <Trellis/Length.hpp>
#include <Trellis/TextEditWidget.hpp>
#include <Trellis/TextWidget.hpp>

namespace Tavola
{
namespace
{
const QByteArray kInvalid = QByteArrayLiteral("invalid");
const QByteArray kEmpty = QByteArrayLiteral("empty");
}

InputFieldWidget::InputFieldWidget(Trellis::Widget* parent, bool takesFocus) : Trellis::Widget(parent)
{
    m_editor = Bedrock::makeIntrusive<Trellis::TextEditWidget>(this);
    m_editor->addCSSClass(QByteArrayLiteral("editor"));
    setDefault(*m_editor, "width", "100%");

    m_placeholder = Bedrock::makeIntrusive<Trellis::TextWidget>(this);
    m_placeholder->addCSSClass(QByteArrayLiteral("placeholder"));
    setDefaults(*m_placeholder, {{"position", "absolute"}, {"left", "0"}, {"top", "0"}});
    m_placeholder->setInputEnabled(false); // the tap is the editor's
    // It stands where the typed text will, inside the padding.
    if (auto* const padding = dynamic_cast<Facet::AttributeT<Trellis::Edges>*>(attribute("padding")))
        padding->addListener(
            [placeholder = m_placeholder, padding] {
                using Conversion = Facet::StyleConversion<Trellis::Length>;
                setDefault(*placeholder, "left", Conversion::write(padding->value().left).toUtf8().constData());
                setDefault(*placeholder, "top", Conversion::write(padding->value().top).toUtf8().constData());
            },
            Facet::Attribute::kValueChanged);

    m_tooltip = Bedrock::IntrusivePtr<TooltipWidget>(new TooltipWidget(this));
    m_tooltip->addCSSClass(QByteArrayLiteral("error"));
    setDefaults(*m_tooltip, {{"position", "absolute"}, {"left", "0"}, {"top", "100%"}});
    setShown(*m_tooltip, false);

    setCSSType(QByteArrayLiteral("InputFieldWidget"));
    setPseudoClass(kEmpty, true);
    m_editorListeners.push_back(m_editor->eventAddListener("text-changed", [this] {
        const bool empty = m_editor->text().isEmpty();
        setShown(*m_placeholder, empty);
        setPseudoClass(kEmpty, empty);
        showErrors(false);
    }));
    m_editorListeners.push_back(m_editor->eventAddListener("editing-began", [this] { openKeyboard(); }));
    // At each tap as well: the field may have been outside the tree when editing began.
    m_editorListeners.push_back(m_editor->eventAddListener("single-tap", [this] { openKeyboard(); }));
    if (takesFocus)
        if (auto* const application = Trellis::Application::instance())
            application->setFocusWidget(m_editor.get());
}

InputFieldWidget::~InputFieldWidget()
{
    // The editor may outlive the field where another object holds it.
    for (const auto listener : m_editorListeners)
        m_editor->eventRemoveListener(listener);
}

void InputFieldWidget::setValidator(std::function<bool(const QString&)> validator)
{
    m_validator = std::move(validator);
}

void InputFieldWidget::validate()
{
    Bedrock::PersonalTexts::remember(text());
    Bedrock::PersonalTexts::remember(text().simplified());
    const auto validator = m_validator; // a copy: it may set another one
    m_valid = validator ? validator(text()) : !text().trimmed().isEmpty();
}

QString InputFieldWidget::text() const
{
    return m_editor->text();
}

void InputFieldWidget::showErrors(bool on)
{
    const bool shown = on && !m_valid;
    setPseudoClass(kInvalid, shown);
    setShown(*m_tooltip, shown);
}

void InputFieldWidget::reset()
{
    m_valid = true;
    m_editor->clear();
    showErrors(false);
}

Bedrock::IntrusivePtr<Trellis::TextEditWidget> InputFieldWidget::editor() const
{
    return m_editor;
}

Bedrock::IntrusivePtr<TooltipWidget> InputFieldWidget::tooltip() const
{
    return m_tooltip;
}

Bedrock::IntrusivePtr<Trellis::TextWidget> InputFieldWidget::placeholder() const
{
    return m_placeholder;
}

Bedrock::IntrusivePtr<KeyboardWidget> InputFieldWidget::keyboard() const
{
    const auto keyboard = m_keyboard.lock();
    return keyboard && keyboard->isOpen() ? keyboard : nullptr;
}

void InputFieldWidget::openKeyboard()
{
    const auto table = Tavola::instance();
    QString layout = m_keyboardLayout.value();
    if (layout.isEmpty() && table)
        layout = table->ui()->keyboardLayout();
    if (!m_editor->isEditing() || layout == QLatin1String("none"))
        return;
    if (const auto open = keyboard()) {
        m_editor->setOwnKeyboard(true);
        return;
    }
    m_keyboard = KeyboardWidget::open(*this);
}
}
