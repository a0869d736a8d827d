#pragma once

#include <Trellis/TextInterfaceWidget.hpp>

class QKeyEvent;

namespace Trellis
{
/// One line of text that a visitor writes. A tap gives it the keyboard and puts the cursor where the finger was; enter and
/// escape give the keyboard back. What does not fit is scrolled so that the cursor stays in sight.
///
/// Attributes: those of a text but "max-lines", and "caret-color".
/// Events: "text-changed"; "editing-finished" with the text and the reason: "enter" (the enter key), "escape" or
/// "focus-lost". A listener may take the widget from the tree.
class TAVOLA_EXPORT TextEditWidget : public TextInterfaceWidget
{
public:
    explicit TextEditWidget(Widget* parent = nullptr);
    ~TextEditWidget() override;

    /// Empties the text; sends "text-changed" only.
    void clear();
    /// Lets go of the keyboard. Sends "editing-finished" with "focus-lost" when it had it, never "enter".
    void endEditing();
    [[nodiscard]] bool hasFocus() const;

    /// Index of the character (UTF-16) behind the cursor; always at the border of what is seen as one character.
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
    void finish(const char* reason);
    void sendFinished(const char* reason);
    struct EditPrivate;
    std::unique_ptr<EditPrivate> d;
};
}
