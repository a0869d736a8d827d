#pragma once

#include <Tavola/KeyboardLayout.hpp>
#include <Trellis/Widget.hpp>

#include <memory>

namespace Tavola
{
class InputFieldWidget;

/// A keyboard on the table that writes into one input field and no other, so that several visitors type at once. It opens
/// when its field's editor is tapped and belongs to the widget that carries the field: the outermost one that can be moved,
/// or the field's parent where nothing can. It stands where the user interface's placer says, else below that widget and
/// inside the table's edge, and turns with it; its keys keep their size on the table when the widget is scaled. A host with
/// "overflow: hidden" clips it.
///
/// It closes at the enter key (the reason of the editor's "editing-finished" is "enter"), at its hide key ("escape"), when the
/// editor ends editing for any other reason, and when the field is hidden or removed.
///
/// CSS type "KeyboardWidget", class "layout-NAME"; its keys are of the CSS type "KeyWidget". docs/style-attributes.md lists the
/// attributes of both, and the classes of keys. Main thread only.
class TAVOLA_EXPORT KeyboardWidget final : public Trellis::Widget
{
public:
    /// The least size of a key on the table; a smaller "key-size" is raised to it.
    static constexpr float kLeastKeyMm = 12.f;

    /// Opens a keyboard for a field that stands on the table; null for one that does not.
    static Bedrock::IntrusivePtr<KeyboardWidget> open(InputFieldWidget& field);
    ~KeyboardWidget() override;

    /// Null once the field is destroyed.
    [[nodiscard]] Bedrock::IntrusivePtr<InputFieldWidget> field() const;
    /// Fades out, and ends editing where it has not ended yet. May be called more than once.
    void close();
    [[nodiscard]] bool isOpen() const noexcept;

    /// The layout that shows: the one chosen with the language key, or else "keyboard-layout" of this widget, that of the
    /// field, that of the user interface, "en".
    [[nodiscard]] QString layoutName() const;
    [[nodiscard]] bool showsSymbols() const noexcept;
    /// The first key that types, or is labelled, `text` with the present shift and level; null when there is none.
    [[nodiscard]] Trellis::Widget* findKey(const QString& text) const;
    [[nodiscard]] Trellis::Widget* findKey(KeyboardKey::Action action) const;

    void update(const Trellis::FrameInfo& frame) override;
    [[nodiscard]] bool shouldGrab(Trellis::GrabManager& grabManager, Tactile::TrackedObject object) const override;

protected:
    void attributeChanged(Facet::Attribute& attribute) override;

private:
    explicit KeyboardWidget(InputFieldWidget& field);

    struct Private;
    std::unique_ptr<Private> d;
};
}
