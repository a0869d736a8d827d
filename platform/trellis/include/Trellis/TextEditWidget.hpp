#pragma once

#include <Trellis/TextInterfaceWidget.hpp>

class QKeyEvent;

namespace Trellis
{
/// One line of text that a visitor writes. A tap gives it the keyboard.
///
/// Events: "text-changed"; "editing-finished" with the text and the reason: "enter" (the enter key), "escape" or
/// "focus-lost".
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

    [[nodiscard]] int cursorPosition() const noexcept;
    /// Inserts at the cursor. Line ends become blanks.
    void insertText(const QString& text);
    void keyPressed(QKeyEvent& event);

    void renderContent(Lantern::RenderContext& context) const override;

protected:
    void attributeChanged(Facet::Attribute& attribute) override;

private:
    friend class Application;
    void focusChanged(bool focused);
    struct EditPrivate;
    std::unique_ptr<EditPrivate> d;
};
}
