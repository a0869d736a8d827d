#pragma once

#include <Trellis/TextInterfaceWidget.hpp>

class QKeyEvent;

namespace Trellis
{
/// One line of text that a visitor writes. A tap gives it the keyboard and puts the cursor where the finger was; enter and
/// escape give the keyboard back. An editor with a keyboard of its own on the table is edited independently of all others:
/// several visitors write at once, while the physical keyboard goes to the editor that was tapped last. What does not fit is
/// scrolled so that the cursor stays in sight.
///
/// Attributes: those of a text but "max-lines", and "caret-color".
/// Events: "editing-began"; "text-changed"; "editing-finished" with the text and the reason: "enter" (the enter key), "escape" or
/// "focus-lost". A listener may take the widget from the tree.
class TAVOLA_EXPORT TextEditWidget : public TextInterfaceWidget
{
public:
    explicit TextEditWidget(Widget* parent = nullptr);
    ~TextEditWidget() override;

    /// Empties the text; sends "text-changed" only.
    void clear();
    /// Gives up the keyboards. Sends "editing-finished" with "focus-lost" when it had one, never "enter".
    void endEditing();
    /// Whether the physical keyboard goes here.
    [[nodiscard]] bool hasFocus() const;
    /// Whether it is being edited: it has the focus or a keyboard of its own. Shows the caret; pseudo-class "focus".
    [[nodiscard]] bool isEditing() const;
    /// Called by the keyboard on the table that serves this editor alone. While it does, editing goes on when the focus goes
    /// elsewhere. Taking it away sends nothing: a keyboard that closes calls `endEditing` or `keyPressed` instead.
    void setOwnKeyboard(bool on);

    /// Index of the character (UTF-16) after the cursor; always at the border of what is seen as one character.
    [[nodiscard]] int cursorPosition() const noexcept;
    /// Inserts at the cursor. Line ends become blanks.
    void insertText(const QString& text);
    /// A key that means nothing here is left unaccepted.
    void keyPressed(QKeyEvent& event);

    void update(const FrameInfo& frame) override;
    void renderContent(Lantern::RenderContext& context) const override;

protected:
    [[nodiscard]] Vecta::Vector2f contentSize(float availableWidth) const override;
    void attributeChanged(Facet::Attribute& attribute) override;

private:
    friend class Application;
    void focusChanged(bool focused);
    void editingChanged();
    void finish(const char* reason);
    void sendFinished(const char* reason);
    struct EditPrivate;
    std::unique_ptr<EditPrivate> d;
};
}
