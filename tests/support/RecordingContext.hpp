#pragma once

#include <Lantern/BoxFill.hpp>
#include <Lantern/BoxShadow.hpp>
#include <Lantern/RenderContext.hpp>
#include <Lantern/RoundBox.hpp>
#include <Lantern/Style.hpp>

#include <QImage>
#include <QString>
#include <QTextLayout>

#include <algorithm>
#include <cassert>
#include <cmath>
#include <string>
#include <vector>

namespace TestSupport
{
/// Writes down what is drawn instead of drawing it.
class RecordingContext final : public Lantern::RenderContext
{
public:
    struct Call
    {
        enum class Kind { Rect, Arc, Image, Text, Shadow, Box, Frame };
        Kind kind;
        Vecta::Rect rect;        ///< as it was given; for texts the origin and the size of the layout
        Vecta::Rect sceneBounds; ///< the same in the scene
        float opacity = 1.f;     ///< product of all that was pushed, layers too
        int layers = 0;          ///< how many layers are open
        int clips = 0;           ///< how many clips hold
        float cornerRadius = 0.f;
        Lantern::Style style; ///< rectangles and arcs
        float radius = 0.f;   ///< arcs
        float fromRadians = 0.f;
        float toRadians = 0.f;
        int segments = 0;
        QSize imageSize; ///< images
        Vecta::Rect source;
        QString text; ///< texts
        Bedrock::Color color;
    };

    /// What `isVisible` takes for the drawn part of the scene.
    explicit RecordingContext(const Vecta::Rect& visible = {-1e6f, -1e6f, 2e6f, 2e6f}) { m_state.clip = visible; }

    [[nodiscard]] const std::vector<Call>& calls() const { return m_calls; }
    [[nodiscard]] int count(Call::Kind kind) const
    {
        return int(std::count_if(m_calls.begin(), m_calls.end(), [kind](const Call& c) { return c.kind == kind; }));
    }
    [[nodiscard]] std::vector<QString> texts() const
    {
        std::vector<QString> result;
        for (const Call& c : m_calls)
            if (c.kind == Call::Kind::Text)
                result.push_back(c.text);
        return result;
    }
    /// Layers that were opened since the beginning.
    [[nodiscard]] int layersPushed() const { return m_layersPushed; }
    /// How often `isVisible` was asked.
    [[nodiscard]] int visibilityTests() const { return m_visibilityTests; }
    /// Pushes that were not popped.
    [[nodiscard]] int depth() const { return int(m_saved.size()); }

    void pushTransform(const Vecta::Transform& transform) override
    {
        m_saved.push_back(m_state);
        m_state.transform = m_state.transform * transform;
    }
    void pushOpacity(float opacity) override
    {
        m_saved.push_back(m_state);
        m_state.opacity *= opacity;
    }
    void pushLayer(const Vecta::Rect& bounds, float opacity, Lantern::Edges) override
    {
        pushClip(bounds);
        --m_state.clips;
        m_state.opacity *= opacity;
        ++m_state.layers;
        ++m_layersPushed;
    }
    void pushClip(const Vecta::Rect& rect, const Lantern::Corners& = {}) override
    {
        m_saved.push_back(m_state);
        m_state.clip = intersection(m_state.clip, m_state.transform.mapBounds(rect));
        ++m_state.clips;
    }
    void pop() override
    {
        assert(!m_saved.empty() && "pop without a push");
        m_state = m_saved.back();
        m_saved.pop_back();
    }
    [[nodiscard]] bool isVisible(const Vecta::Rect& rect, Lantern::Edges) const override
    {
        ++m_visibilityTests;
        return m_state.opacity > 0.f && m_state.transform.mapBounds(rect).intersects(m_state.clip);
    }

    void drawShadow(const Lantern::RoundBox& box, const Lantern::BoxShadow& shadow) override
    {
        Call& call = add(Call::Kind::Shadow, box.rect);
        call.cornerRadius = box.largestRadius();
        call.color = shadow.color;
    }
    void drawBox(const Lantern::RoundBox& box, const Lantern::BoxFill& fill) override
    {
        Call& call = add(Call::Kind::Box, box.rect);
        call.cornerRadius = box.largestRadius();
        call.imageSize = fill.image.size();
        call.source = fill.tile;
        call.color = fill.color;
    }
    void drawFrame(const Lantern::RoundBox& box, const Lantern::BoxFrame&) override
    {
        add(Call::Kind::Frame, box.rect).cornerRadius = box.largestRadius();
    }
    void drawRect(const Vecta::Rect& rect, float cornerRadius, const Lantern::Style& style) override
    {
        Call& call = add(Call::Kind::Rect, rect);
        call.cornerRadius = cornerRadius;
        call.style = style;
    }
    void drawArc(Vecta::Vector2f centre, float radius, float fromRadians, float toRadians, const Lantern::Style& style,
                 int segments = 0) override
    {
        Call& call = add(Call::Kind::Arc, {centre.x - radius, centre.y - radius, 2 * radius, 2 * radius});
        call.radius = radius;
        call.fromRadians = fromRadians;
        call.toRadians = toRadians;
        call.style = style;
        call.segments = segments;
    }
    void drawImage(const QImage& image, const Vecta::Rect& target, const Vecta::Rect& source = Vecta::Rect(),
                   const Lantern::Corners& corners = {}) override
    {
        Call& call = add(Call::Kind::Image, target);
        call.imageSize = image.size();
        call.source = source;
        call.cornerRadius = Lantern::RoundBox{target, corners}.largestRadius();
    }
    void drawText(const QTextLayout& layout, Vecta::Vector2f origin, const Bedrock::Color& color) override
    {
        const QRectF bounds = layout.boundingRect();
        Call& call = add(Call::Kind::Text, {origin.x, origin.y, float(bounds.width()), float(bounds.height())});
        call.text = layout.text();
        call.color = color;
    }

private:
    struct State
    {
        Vecta::Transform transform;
        Vecta::Rect clip;
        float opacity = 1.f;
        int layers = 0;
        int clips = 0;
    };

    static Vecta::Rect intersection(const Vecta::Rect& a, const Vecta::Rect& b)
    {
        const float left = std::max(a.x, b.x);
        const float top = std::max(a.y, b.y);
        return {left, top, std::max(0.f, std::min(a.right(), b.right()) - left),
                std::max(0.f, std::min(a.bottom(), b.bottom()) - top)};
    }
    Call& add(Call::Kind kind, const Vecta::Rect& rect)
    {
        Call call;
        call.kind = kind;
        call.rect = rect;
        call.sceneBounds = m_state.transform.mapBounds(rect);
        call.opacity = m_state.opacity;
        call.layers = m_state.layers;
        call.clips = m_state.clips;
        m_calls.push_back(call);
        return m_calls.back();
    }

    State m_state;
    std::vector<State> m_saved;
    std::vector<Call> m_calls;
    int m_layersPushed = 0;
    mutable int m_visibilityTests = 0;
};
}
