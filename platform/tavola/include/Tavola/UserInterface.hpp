#pragma once

#include <Bedrock/Export.hpp>
#include <Bedrock/IntrusivePtr.hpp>
#include <Vecta/Vector2T.hpp>

#include <QByteArray>
#include <QString>

#include <functional>
#include <memory>

namespace Trellis
{
class Widget;
}

namespace Tavola
{
struct KeyboardRequest;

/// The layers of the table, all children of the toolkit's main layer, from the bottom: the background (class
/// "tavola-background"), the main widget, the overlay, the internal overlay. Main thread only.
class TAVOLA_EXPORT UserInterface
{
public:
    UserInterface();
    ~UserInterface();
    UserInterface(const UserInterface&) = delete;
    UserInterface& operator=(const UserInterface&) = delete;

    /// The table's ground; grabs every touch and card that no widget above it grabs.
    [[nodiscard]] Bedrock::IntrusivePtr<Trellis::Widget> background() const;
    /// Launched content lives under it.
    [[nodiscard]] Bedrock::IntrusivePtr<Trellis::Widget> mainWidget() const;
    /// For widgets above all content, such as drop indicators. Gets no input.
    [[nodiscard]] Bedrock::IntrusivePtr<Trellis::Widget> overlayWidget() const;
    /// For the host's own widgets, such as its marker detector.
    [[nodiscard]] Bedrock::IntrusivePtr<Trellis::Widget> internalOverlayWidget() const;

    /// A new widget of a registered component. `style` names a set of style sheets; "main" is the only one there is (another one
    /// is a warning and counts as "main"). Null, with a warning, for a component that is
    /// not registered or whose widget cannot be made.
    [[nodiscard]] Bedrock::IntrusivePtr<Trellis::Widget> createStockWidget(const QString& component, const QByteArray& style);

    // ---- The table itself, as the presentation describes it -----------------------------------------------------------

    static constexpr float kUsualPixelPitchMm = 0.55f;
    /// Millimetres from one pixel to the next. Keyboards that open from then on have keys that fit fingers. A pitch that is
    /// no positive number is ignored.
    void setPixelPitchMm(float pitchMm);
    [[nodiscard]] float pixelPitchMm() const noexcept;
    /// The layout of keyboards for which no style sets another one; empty means "en", and "none" that none opens.
    void setKeyboardLayout(const QString& name);
    [[nodiscard]] QString keyboardLayout() const;
    /// Says where a keyboard's top left corner stands on the table; asked when it opens and whenever the request changes.
    using KeyboardPlacer = std::function<Vecta::Vector2T<float>(Trellis::Widget& keyboard, const Trellis::Widget& carrier,
                                                                const KeyboardRequest& request)>;
    /// An empty function ends that: keyboards then open in their usual place.
    void setKeyboardPlacer(KeyboardPlacer placer);
    [[nodiscard]] const KeyboardPlacer& keyboardPlacer() const noexcept;

private:
    struct Private;
    std::unique_ptr<Private> d;
};
}
