#pragma once

#include <Bedrock/Color.hpp>
#include <Bedrock/Export.hpp>
#include <Lantern/RoundBox.hpp>
#include <Vecta/Rect.hpp>
#include <Vecta/Transform.hpp>
#include <Vecta/Vector2T.hpp>

#include <functional>

class QImage;
class QTextLayout;

namespace Lantern
{
class KeptPicture;
struct BoxFill;
struct BoxFrame;
struct BoxShadow;
struct Style;

/// Whether something of what is drawn inside of a rectangle is turned or scaled: such edges colour the pixels beside them, which
/// may lie outside of the rectangle by less than half a pixel. With a transform that turns or scales the rectangle itself, all
/// are smooth.
enum class Edges { Sharp, Smooth };

/// Draws shapes, pictures and text in the coordinates of the widget at hand. Lives for one frame; main thread only.
/// See PainterContext for the one that draws; tests record the calls instead.
class TAVOLA_EXPORT RenderContext
{
public:
    virtual ~RenderContext();

    /// Nested states: each push is undone by one `pop`.
    virtual void pushTransform(const Vecta::Transform& transform) = 0;
    /// Everything until `pop` is drawn that much fainter; 0..1.
    virtual void pushOpacity(float opacity) = 0;
    /// Everything until `pop` is put together first and faded as one picture, so that what overlaps in it does not shine
    /// through. Nothing outside `bounds` and their edges shows. Costs a picture of that size: where things do not overlap use
    /// `pushOpacity`.
    virtual void pushLayer(const Vecta::Rect& bounds, float opacity, Edges edges = Edges::Sharp) = 0;
    /// Nothing is drawn outside `rect` (with round corners, which are made to fit) until `pop`.
    virtual void pushClip(const Vecta::Rect& rect, const Corners& corners = {}) = 0;
    virtual void pop() = 0;

    /// Whether anything inside `rect`, or at its edges, could show in this frame; false lets a caller skip drawing.
    [[nodiscard]] virtual bool isVisible(const Vecta::Rect& rect, Edges edges = Edges::Sharp) const = 0;

    /// Outside of the box, under which nothing of it shows, or inset: inside of it. The blurred shape is kept, and shared by
    /// boxes of other sizes and places.
    virtual void drawShadow(const RoundBox& box, const BoxShadow& shadow) = 0;
    virtual void drawBox(const RoundBox& box, const BoxFill& fill) = 0;
    virtual void drawFrame(const RoundBox& box, const BoxFrame& frame) = 0;
    virtual void drawRect(const Vecta::Rect& rect, float cornerRadius, const Style& style) = 0;
    /// An arc from `fromRadians` to `toRadians`, clockwise on the screen, 0 pointing right. A radius below zero and angles
    /// that are no finite numbers are accepted (and show nothing sensible). `segments` 0 lets the context choose.
    virtual void drawArc(Vecta::Vector2f centre, float radius, float fromRadians, float toRadians, const Style& style,
                         int segments = 0) = 0;
    /// The part `source` (pixels of the image; empty: all of it) scaled into `target`.
    virtual void drawImage(const QImage& image, const Vecta::Rect& target, const Vecta::Rect& source = Vecta::Rect(),
                           const Corners& corners = {}) = 0;
    /// Draws a group, which `paint` draws around its origin, at `place` and so faint. A context that can keeps the group in
    /// `picture` and calls `paint` for its damage only; the base calls it each time.
    virtual void drawKept(KeptPicture& picture, Vecta::Vector2f place, float opacity,
                          const std::function<void(RenderContext&)>& paint);
    /// Lines that were laid out before; `origin` is the layout's top left corner.
    virtual void drawText(const QTextLayout& layout, Vecta::Vector2f origin, const Bedrock::Color& color) = 0;
};
}
