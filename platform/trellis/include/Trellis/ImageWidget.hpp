#pragma once

#include <Trellis/Widget.hpp>

namespace Trellis
{
/// Shows a picture from a file. Pictures are read off the main thread at the size they are shown, and shared between
/// widgets; until one is there (or when it cannot be read: one warning) the widget shows its background.
///
/// Attributes: "source" (file), "fit" (contain, cover, stretch).
/// A width or height that is auto follows the picture's proportions.
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

    void update(const FrameInfo& frame) override;
    void renderContent(Lantern::RenderContext& context) const override;

protected:
    [[nodiscard]] Vecta::Vector2f contentSize(float availableWidth) const override;
    void attributeChanged(Facet::Attribute& attribute) override;

private:
    struct ImagePrivate;
    std::unique_ptr<ImagePrivate> d;
};
}
