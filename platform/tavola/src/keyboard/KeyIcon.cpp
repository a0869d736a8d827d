#include "keyboard/KeyIcon.hpp"

#include <Lantern/RenderContext.hpp>
#include <Lantern/Style.hpp>
#include <Vecta/Transform.hpp>

#include <cmath>
#include <initializer_list>

namespace Tavola::KeyIcon
{
namespace
{
using Action = KeyboardKey::Action;
using Vecta::Vector2f;

/// A pen with a round tip. Signs are drawn in a square from -1 to 1.
class Pen
{
public:
    Pen(Lantern::RenderContext& context, Vector2f centre, float unit, const Bedrock::Color& color)
        : m_context(context), m_centre(centre), m_unit(unit), m_width(unit * 0.24f)
    {
        m_style.setFill(color.premultiplied());
    }

    void lines(std::initializer_list<Vector2f> points)
    {
        const Vector2f* before = nullptr;
        for (const Vector2f& point : points) {
            if (before)
                line(*before, point);
            before = &point;
        }
    }
    void dot(Vector2f at, float size)
    {
        const Vector2f p = m_centre + at * m_unit;
        const float side = size * m_unit;
        m_context.drawRect({p.x - side / 2, p.y - side / 2, side, side}, side * 0.25f, m_style);
    }

private:
    void line(Vector2f from, Vector2f to)
    {
        const Vector2f along = (to - from) * m_unit;
        m_context.pushTransform(Vecta::Transform::translation(m_centre + from * m_unit)
                                * Vecta::Transform::rotation(std::atan2(along.y, along.x)));
        const float half = m_width / 2;
        m_context.drawRect({-half, -half, along.length() + m_width, m_width}, half, m_style);
        m_context.pop();
    }

    Lantern::RenderContext& m_context;
    Vector2f m_centre;
    float m_unit;
    float m_width;
    Lantern::Style m_style;
};
}

bool has(Action action)
{
    switch (action) {
    case Action::Shift:
    case Action::Backspace:
    case Action::Enter:
    case Action::Left:
    case Action::Right:
    case Action::Hide: return true;
    default: return false;
    }
}

void draw(Lantern::RenderContext& context, Action action, const Vecta::Rect& box, float sizePx, const Bedrock::Color& color,
          bool marked)
{
    Pen pen(context, box.center(), sizePx / 2, color);
    switch (action) {
    case Action::Shift:
        pen.lines({{-0.9f, 0.f},
                   {0.f, -0.9f},
                   {0.9f, 0.f},
                   {0.42f, 0.f},
                   {0.42f, 0.55f},
                   {-0.42f, 0.55f},
                   {-0.42f, 0.f},
                   {-0.9f, 0.f}});
        if (marked)
            pen.lines({{-0.42f, 0.98f}, {0.42f, 0.98f}});
        return;
    case Action::Backspace:
        pen.lines({{-1.25f, 0.f}, {-0.6f, -0.75f}, {1.15f, -0.75f}, {1.15f, 0.75f}, {-0.6f, 0.75f}, {-1.25f, 0.f}});
        pen.lines({{-0.08f, -0.3f}, {0.52f, 0.3f}});
        pen.lines({{-0.08f, 0.3f}, {0.52f, -0.3f}});
        return;
    case Action::Enter:
        pen.lines({{1.f, -0.75f}, {1.f, 0.25f}, {-0.95f, 0.25f}});
        pen.lines({{-0.4f, -0.3f}, {-0.95f, 0.25f}, {-0.4f, 0.8f}});
        return;
    case Action::Left: pen.lines({{0.35f, -0.7f}, {-0.35f, 0.f}, {0.35f, 0.7f}}); return;
    case Action::Right: pen.lines({{-0.35f, -0.7f}, {0.35f, 0.f}, {-0.35f, 0.7f}}); return;
    case Action::Hide:
        pen.lines({{-1.1f, -0.95f}, {1.1f, -0.95f}, {1.1f, 0.2f}, {-1.1f, 0.2f}, {-1.1f, -0.95f}});
        for (const float x : {-0.6f, 0.f, 0.6f})
            pen.dot({x, -0.6f}, 0.24f);
        pen.lines({{-0.5f, -0.14f}, {0.5f, -0.14f}});
        pen.lines({{-0.4f, 0.65f}, {0.f, 1.f}, {0.4f, 0.65f}});
        return;
    default: return;
    }
}
}
