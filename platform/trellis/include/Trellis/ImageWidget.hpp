#pragma once

#include <Trellis/Widget.hpp>

#include <QImage>
#include <QString>

namespace Trellis
{
/// Shows a picture from a file. Pictures are read off the main thread at the size they are shown, and shared between
/// widgets; until one is there the widget shows its background. When it cannot be read, there is one warning, and the widget
/// has the pseudo-class "failed" until it has another source.
///
/// Attributes: "source" (file), "fit" (contain, cover, stretch). Its corners are as round as the widget's.
/// A width or height that is auto follows the picture's proportions.
/// Events: "image-loaded", each time a picture was read (also again, larger, when the widget has grown); "image-failed".
class TAVOLA_EXPORT ImageWidget : public Widget
{
public:
    /// How `load` waits.
    static constexpr int kNonBlocking = 0;
    static constexpr int kBlocking = 1; ///< for tools; never on a running table

    explicit ImageWidget(Widget* parent = nullptr);
    ~ImageWidget() override;

    /// Sets "source" on the run-time layer; empty shows nothing.
    void load(const QString& path, int blockingType = kNonBlocking);
    [[nodiscard]] QString source() const;
    /// Whether the picture of the present source has been read and shows.
    [[nodiscard]] bool isLoaded() const;
    /// Whether the picture of the present source could not be read.
    [[nodiscard]] bool hasFailed() const;
    /// The picture as it was read, in general smaller than the file's; null while none shows.
    [[nodiscard]] QImage image() const;

    void renderContent(Lantern::RenderContext& context) const override;
    void sceneSizeChanged() override;

protected:
    [[nodiscard]] Vecta::Vector2f contentSize(float availableWidth) const override;
    void attributeChanged(Facet::Attribute& attribute) override;

private:
    friend class ImageTileWidget;
    struct ImagePrivate;
    std::unique_ptr<ImagePrivate> d;
};
}
