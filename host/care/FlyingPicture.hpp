#pragma once

#include <Trellis/Widget.hpp>

#include <QImage>

namespace Host
{
/// A picture that flies to a widget within `kFlightSeconds` of frame time and is removed there, or where that widget was when it
/// went. Takes no input. CSS type "FlyingPicture". Owned by the layer that it was added to. Main thread only.
class FlyingPicture final : public Trellis::Widget
{
public:
    static constexpr float kFlightSeconds = 0.3f;

    /// Where it begins: the middle in table pixels, the size there, and how it is turned.
    struct Start
    {
        Vecta::Vector2f center;
        Vecta::Vector2f size;
        float angleRadians = 0.f;
    };

    /// A picture that flies from the next frame on.
    static Bedrock::IntrusivePtr<FlyingPicture> addTo(Trellis::Widget& layer, QImage picture, const Start& start,
                                                      Trellis::Widget& goal);

    void update(const Trellis::FrameInfo& frame) override;
    void renderContent(Lantern::RenderContext& context) const override;

private:
    FlyingPicture(QImage picture, const Start& start, Trellis::Widget& goal);
    void stand(float part);

    QImage m_picture;
    Start m_start;
    Start m_end; ///< the goal's place, as of the last frame in which it was there
    Bedrock::IntrusiveWeakPtr<Trellis::Widget> m_goal;
    float m_seconds = 0.f;
};
}
