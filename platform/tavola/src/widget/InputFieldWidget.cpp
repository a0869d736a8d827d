#include <Tavola/InputFieldWidget.hpp>

#include "component/AttributeValues.hpp"

#include <Tavola/KeyboardWidget.hpp>
#include <Tavola/Tavola.hpp>
#include <Tavola/TooltipWidget.hpp>
#include <Tavola/UserInterface.hpp>
#include <Trellis/Application.hpp>
#include <Trellis/TextEditWidget.hpp>
#include <Trellis/TextWidget.hpp>

namespace Tavola
{
namespace
{
const QByteArray kInvalid = QByteArrayLiteral("invalid");
const QByteArray kEmpty = QByteArrayLiteral("empty");

/// Hides a widget above all styles, or leaves it to the styles again.
void setHidden(Trellis::Widget& widget, bool hidden)
{
    QString error;
    Facet::Attribute* const display = widget.attribute("display");
    if (hidden)
        static_cast<void>(setFromJson(widget, QStringLiteral("display"), QStringLiteral("none"), error));
    else
        display->clearValue(Facet::kUserLayer);
}
}

InputFieldWidget::InputFieldWidget(Trellis::Widget* parent, bool takesFocus) : Trellis::Widget(parent)
{
    m_editor = Bedrock::makeIntrusive<Trellis::TextEditWidget>(this);
    m_editor->addCSSClass(QByteArrayLiteral("editor"));
    setDefault(*m_editor, "width", "100%");

    m_placeholder = Bedrock::makeIntrusive<Trellis::TextWidget>(this);
    m_placeholder->addCSSClass(QByteArrayLiteral("placeholder"));
    setDefault(*m_placeholder, "position", "absolute");
    setDefault(*m_placeholder, "left", "0");
    setDefault(*m_placeholder, "top", "0");
    m_placeholder->setInputEnabled(false); // the tap is the editor's

    m_tooltip = Bedrock::IntrusivePtr<TooltipWidget>(new TooltipWidget(this));
    m_tooltip->addCSSClass(QByteArrayLiteral("error"));
    setDefault(*m_tooltip, "position", "absolute");
    setDefault(*m_tooltip, "left", "0");
    setDefault(*m_tooltip, "top", "100%");
    setHidden(*m_tooltip, true);

    setCSSType(QByteArrayLiteral("InputFieldWidget"));
    setPseudoClass(kEmpty, true);
    m_editorListeners.push_back(m_editor->eventAddListener("text-changed", [this] {
        const bool empty = m_editor->text().isEmpty();
        setHidden(*m_placeholder, !empty);
        setPseudoClass(kEmpty, empty);
        showErrors(false);
    }));
    m_editorListeners.push_back(m_editor->eventAddListener("editing-began", [this] { openKeyboard(); }));
    // Said again at each tap: when editing began the field may have stood nowhere.
    m_editorListeners.push_back(m_editor->eventAddListener("single-tap", [this] { openKeyboard(); }));
    if (takesFocus)
        if (auto* const application = Trellis::Application::instance())
            application->setFocusWidget(m_editor.get());
}

InputFieldWidget::~InputFieldWidget()
{
    // Whoever holds the editor may go on with it.
    for (const auto listener : m_editorListeners)
        m_editor->eventRemoveListener(listener);
}

void InputFieldWidget::setValidator(std::function<bool(const QString&)> validator)
{
    m_validator = std::move(validator);
}

void InputFieldWidget::validate()
{
    const auto validator = m_validator; // it may set another one
    m_valid = !validator || validator(text());
}

QString InputFieldWidget::text() const
{
    return m_editor->text();
}

void InputFieldWidget::showErrors(bool on)
{
    const bool shown = on && !m_valid;
    setPseudoClass(kInvalid, shown);
    setHidden(*m_tooltip, !shown);
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
