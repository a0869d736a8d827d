#include "care/FlyingPicture.hpp"

#include <Lantern/RenderContext.hpp>
#include <Trellis/FrameInfo.hpp>
#include <Vecta/Angle.hpp>

#include <algorithm>
#include <cmath>
#include <utility>

namespace Host
{
namespace
{
using Vecta::Vector2f;

FlyingPicture::Start placeOf(const Trellis::Widget& widget)
{
    const Vecta::Transform toScene = widget.transformToScene();
    return {widget.mapToScene(widget.size() / 2.f), widget.size() * std::hypot(toScene.m11, toScene.m21),
            std::atan2(toScene.m21, toScene.m11)};
}
}

Bedrock::IntrusivePtr<FlyingPicture> FlyingPicture::addTo(Trellis::Widget& layer, QImage picture, const Start& start,
                                                          Trellis::Widget& goal)
{
    const Bedrock::IntrusivePtr<FlyingPicture> flying(new FlyingPicture(std::move(picture), start, goal));
    flying->postConstruct();
    layer.addChild(flying);
    flying->stand(0.f);
    return flying;
}

FlyingPicture::FlyingPicture(QImage picture, const Start& start, Trellis::Widget& goal)
    : m_picture(std::move(picture)), m_start(start), m_end(placeOf(goal)), m_goal(&goal)
{
    setCSSType("FlyingPicture");
    setInputEnabled(false);
    setUpdating(true);
}

void FlyingPicture::update(const Trellis::FrameInfo& frame)
{
    Widget::update(frame);
    const auto goal = m_goal.lock();
    if (goal && goal->parent())
        m_end = placeOf(*goal);
    m_seconds += frame.dt();
    if (m_seconds >= kFlightSeconds) {
        removeFromParent();
        return;
    }
    const float part = m_seconds / kFlightSeconds;
    stand(1.f - (1.f - part) * (1.f - part));
}

void FlyingPicture::stand(float part)
{
    const Vecta::Rect end = Vecta::Rect{0.f, 0.f, m_end.size.x, m_end.size.y}.fitting(m_start.size);
    const Vector2f size = m_start.size + (Vector2f(end.width, end.height) - m_start.size) * part;
    setSize(size);
    setRotation(m_start.angleRadians + Vecta::shortestTurn(m_start.angleRadians, m_end.angleRadians) * part);
    const Vector2f center = m_start.center + (m_end.center - m_start.center) * part;
    setCenterLocation(parent() ? parent()->mapFromScene(center) : center);
}

void FlyingPicture::renderContent(Lantern::RenderContext& context) const
{
    Widget::renderContent(context);
    context.drawImage(m_picture, {0.f, 0.f, width(), height()});
}
}
