#pragma once

#include <Facet/AttributeT.hpp>
#include <Trellis/Widget.hpp>

#include <QString>

#include <functional>
#include <vector>

namespace Trellis
{
class TextEditWidget;
class TextWidget;
}

namespace Tavola
{
class KeyboardWidget;
class TooltipWidget;

/// A line of input with a placeholder, validation and an error tooltip. Exactly three text widgets: the editor, the
/// tooltip's text and the placeholder (shown while the editor is empty). CSS type "InputFieldWidget"; pseudo-classes
/// "invalid" (errors are shown), "empty".
///
/// A keyboard opens on the table when the editor is tapped; see KeyboardWidget. Attribute "keyboard-layout": the keyboard's
/// layout, "none" for a table that has a keyboard beside it; empty: as the keyboard or the user interface has it.
class TAVOLA_EXPORT InputFieldWidget : public Trellis::Widget
{
public:
    /// With `takesFocus` the field has the keyboard as soon as it is made.
    InputFieldWidget(Trellis::Widget* parent, bool takesFocus);
    ~InputFieldWidget() override;

    /// Without a validator every text is valid that is not blank.
    void setValidator(std::function<bool(const QString&)> validator);
    /// Tests the present text; `isValid` gives the outcome. From then on the text counts as personal (Bedrock/PersonalTexts.hpp).
    void validate();
    /// Outcome of the last `validate`; true before the first.
    [[nodiscard]] bool isValid() const noexcept { return m_valid; }
    [[nodiscard]] QString text() const;
    /// Shows or hides the error tooltip, judged by the last `validate`. Errors go away by themselves with the next change.
    void showErrors(bool on);
    /// Empties the text and hides errors; keeps the validator. Sends no "enter".
    void reset();

    [[nodiscard]] Bedrock::IntrusivePtr<Trellis::TextEditWidget> editor() const;
    [[nodiscard]] Bedrock::IntrusivePtr<TooltipWidget> tooltip() const;
    [[nodiscard]] Bedrock::IntrusivePtr<Trellis::TextWidget> placeholder() const;
    /// The keyboard that is open for this field, or null.
    [[nodiscard]] Bedrock::IntrusivePtr<KeyboardWidget> keyboard() const;
    [[nodiscard]] Facet::AttributeT<QString>& keyboardLayout() noexcept { return m_keyboardLayout; }

private:
    void openKeyboard();

    std::function<bool(const QString&)> m_validator;
    std::vector<Facet::Node::ListenerId> m_editorListeners;
    bool m_valid = true;
    Bedrock::IntrusivePtr<Trellis::TextEditWidget> m_editor;
    Bedrock::IntrusivePtr<TooltipWidget> m_tooltip;
    Bedrock::IntrusivePtr<Trellis::TextWidget> m_placeholder;
    Facet::AttributeT<QString> m_keyboardLayout{this, "keyboard-layout"};
    Bedrock::IntrusiveWeakPtr<KeyboardWidget> m_keyboard;
};
}
