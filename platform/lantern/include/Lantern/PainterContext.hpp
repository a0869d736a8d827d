#pragma once

#include <Lantern/RenderContext.hpp>

#include <memory>

class QColor;
class QImage;
class QPainter;
class QRegion;

namespace Lantern
{
/// Draws antialiased, with pictures scaled smoothly: what needs a QPainter by one, the rest directly where the painter draws on
/// a picture. Lives for one frame; the painter must outlive it and is left as it was found. Coordinates are those of the
/// painter at the beginning.
class TAVOLA_EXPORT PainterContext final : public RenderContext
{
public:
    /// Nothing is drawn outside `damage` (an empty region: nothing at all).
    PainterContext(QPainter& painter, const QRegion& damage);
    /// As above, on a picture of RGB32 or premultiplied ARGB32. It must outlive the context, and have no painter.
    PainterContext(QImage& image, const QRegion& damage);
    ~PainterContext() override;
    PainterContext(const PainterContext&) = delete;
    PainterContext& operator=(const PainterContext&) = delete;

    /// Replaces everything inside the damage by `color`, which may be transparent. To be called first.
    void clear(const QColor& color);
    void pushTransform(const Vecta::Transform& transform) override;
    void pushOpacity(float opacity) override;
    void pushLayer(const Vecta::Rect& bounds, float opacity, Edges edges = Edges::Sharp) override;
    void pushClip(const Vecta::Rect& rect, const Corners& corners = {}) override;
    void pop() override;
    [[nodiscard]] bool isVisible(const Vecta::Rect& rect, Edges edges = Edges::Sharp) const override;
    void drawShadow(const RoundBox& box, const BoxShadow& shadow) override;
    void drawBox(const RoundBox& box, const BoxFill& fill) override;
    void drawFrame(const RoundBox& box, const BoxFrame& frame) override;
    void drawRect(const Vecta::Rect& rect, float cornerRadius, const Style& style) override;
    void drawArc(Vecta::Vector2f centre, float radius, float fromRadians, float toRadians, const Style& style,
                 int segments = 0) override;
    void drawImage(const QImage& image, const Vecta::Rect& target, const Vecta::Rect& source = Vecta::Rect(),
                   const Corners& corners = {}) override;
    /// Keeps groups where they come to whole pixels in the scale of their picture.
    void drawKept(KeptPicture& picture, Vecta::Vector2f place, float opacity,
                  const std::function<void(RenderContext&)>& paint) override;
    void drawText(const QTextLayout& layout, Vecta::Vector2f origin, const Bedrock::Color& color) override;

    /// What is pushed, for the library's own files.
    struct Private;

private:
    std::unique_ptr<Private> d;
};
}
