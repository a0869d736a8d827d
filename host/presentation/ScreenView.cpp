#include "presentation/ScreenView.hpp"

#include <QRegion>

#include <algorithm>
#include <cmath>

namespace Host
{
namespace
{
using Vecta::Rect;
using Vecta::Vector2f;

bool hasArea(Vector2f size)
{
    return size.x > 0.f && size.y > 0.f;
}

/// The largest rectangle of the layout's proportions in the middle of the screen, on whole pixels.
Rect centered(Vector2f layout, Vector2f screen)
{
    const float factor = std::min(screen.x / layout.x, screen.y / layout.y);
    const Vector2f size{std::round(layout.x * factor), std::round(layout.y * factor)};
    return {std::floor((screen.x - size.x) / 2.f), std::floor((screen.y - size.y) / 2.f), size.x, size.y};
}

bool isNearlyAsWide(Vector2f layout, Vector2f screen)
{
    const float proportion = (screen.x / layout.x) / (screen.y / layout.y);
    return std::max(proportion, 1.f / proportion) <= 1.f + ScreenView::kMostStretch;
}
}

std::optional<ScreenFit> ScreenView::fitOf(const QString& name)
{
    if (name == QLatin1String("scale"))
        return ScreenFit::Scale;
    if (name == QLatin1String("stretch"))
        return ScreenFit::Stretch;
    return name == QLatin1String("relayout") ? std::optional(ScreenFit::Relayout) : std::nullopt;
}

ScreenView::ScreenView(ScreenFit fit, Vector2f layoutPx, Vector2f screenPx)
    : m_layout(layoutPx), m_screen(screenPx), m_shown{0.f, 0.f, screenPx.x, screenPx.y}
{
    if (fit == ScreenFit::Relayout || !hasArea(layoutPx) || !hasArea(screenPx))
        m_layout = screenPx;
    else if (fit == ScreenFit::Scale || !isNearlyAsWide(layoutPx, screenPx))
        m_shown = centered(layoutPx, screenPx);
}

Vecta::Transform ScreenView::toScreen() const
{
    Vecta::Transform transform = Vecta::Transform::translation({m_shown.x, m_shown.y});
    if (hasArea(m_layout)) {
        transform.m11 = m_shown.width / m_layout.x;
        transform.m22 = m_shown.height / m_layout.y;
    }
    return transform;
}

QRegion ScreenView::toScreen(const QRegion& area) const
{
    const Vecta::Transform transform = toScreen();
    if (transform == Vecta::Transform())
        return area;
    // One pixel more, for edges that lie between pixels of the screen.
    QRegion result;
    for (const QRect& rect : area) {
        const Rect mapped = transform.mapBounds({float(rect.x()), float(rect.y()), float(rect.width()), float(rect.height())});
        const QPoint from(int(std::floor(mapped.x)) - 1, int(std::floor(mapped.y)) - 1);
        const QPoint to(int(std::ceil(mapped.right())), int(std::ceil(mapped.bottom())));
        result += QRect(from, to);
    }
    return result;
}

Vector2f ScreenView::toLayout(Vector2f screenPoint) const
{
    if (!hasArea({m_shown.width, m_shown.height}))
        return screenPoint;
    return {(screenPoint.x - m_shown.x) * m_layout.x / m_shown.width, (screenPoint.y - m_shown.y) * m_layout.y / m_shown.height};
}

Rect ScreenView::screenInLayout() const
{
    const Vector2f from = toLayout({});
    const Vector2f to = toLayout(m_screen);
    return {from.x, from.y, to.x - from.x, to.y - from.y};
}

std::array<Rect, 2> ScreenView::bars() const
{
    if (!hasArea(m_screen))
        return {};
    const float left = m_shown.x / m_screen.x;
    const float top = m_shown.y / m_screen.y;
    const float right = m_shown.right() / m_screen.x;
    const float bottom = m_shown.bottom() / m_screen.y;
    if (m_shown.height < m_screen.y)
        return {Rect{0.f, 0.f, 1.f, top}, Rect{0.f, bottom, 1.f, 1.f - bottom}};
    return {Rect{0.f, 0.f, left, 1.f}, Rect{right, 0.f, 1.f - right, 1.f}};
}
}
