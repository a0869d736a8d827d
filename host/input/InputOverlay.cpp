#include "input/InputOverlay.hpp"

#include <Lantern/RenderContext.hpp>
#include <Lantern/Style.hpp>
#include <Tactile/Sample.hpp>
#include <Trellis/Application.hpp>
#include <Trellis/GrabManager.hpp>
#include <Vecta/Angle.hpp>

#include <QFont>
#include <QTextLayout>

#include <algorithm>
#include <cmath>
#include <memory>
#include <utility>

namespace Host
{
namespace
{
constexpr float kFingerRadiusMm = 9.f;
constexpr float kCardRadiusMm = 38.f;
constexpr float kTextHeightMm = 6.f;
constexpr float kLinePx = 3.f;
constexpr float kGapPx = 6.f;
constexpr float kTurn = float(Vecta::kTwoPi);

const Bedrock::Color kFingerColor{0.2f, 0.9f, 1.f, 1.f};
const Bedrock::Color kCardColor{1.f, 0.7f, 0.1f, 1.f};
const Bedrock::Color kAreaColor{1.f, 0.2f, 0.3f, 1.f};
const Bedrock::Color kGround = Bedrock::Color{0.f, 0.f, 0.f, 0.7f}.premultiplied();
}

/// One finger or card.
class InputOverlay::Mark final : public Trellis::Widget
{
public:
    Mark(const Tactile::TrackedObject& object, float pixelPitchMm)
        : m_object(object), m_radius((object.isMarker() ? kCardRadiusMm : kFingerRadiusMm) / pixelPitchMm)
    {
        setCSSType(QByteArrayLiteral("InputMark"));
        m_text.setText(object.isMarker() ? QStringLiteral("#%1  code %2").arg(object.id()).arg(object.code())
                                         : QStringLiteral("#%1").arg(object.id()));
        QFont font;
        font.setPixelSize(std::max(8, int(std::lround(kTextHeightMm / pixelPitchMm))));
        m_text.setFont(font);
        m_text.beginLayout();
        m_text.createLine().setLineWidth(1e6);
        m_text.endLayout();
        m_textSize = {float(m_text.lineAt(0).naturalTextWidth()), float(m_text.lineAt(0).height())};
        const float side = 2.f * m_radius + kLinePx;
        setSize({side + 3.f * kGapPx + m_textSize.x, std::max(side, m_textSize.y)});
        place();
    }

    [[nodiscard]] std::int64_t id() const { return m_object.id(); }
    void follow(const Tactile::TrackedObject& object)
    {
        isSeen = true;
        if (object.centerLocation() == m_object.centerLocation() && object.rotation() == m_object.rotation())
            return;
        if (object.rotation() != m_object.rotation())
            requestRedraw();
        m_object = object;
        place();
    }

    bool isSeen = true; ///< in the frame being read

private:
    [[nodiscard]] Vecta::Vector2f centre() const { return {m_radius + kLinePx / 2.f, height() / 2.f}; }
    void place() { setLocation(m_object.centerLocation() - centre()); }

    void renderContent(Lantern::RenderContext& context) const override
    {
        const Bedrock::Color color = m_object.isMarker() ? kCardColor : kFingerColor;
        const Vecta::Vector2f middle = centre();
        Lantern::Style line;
        context.drawArc(middle, m_radius, 0.f, kTurn, line.setStroke(color, kLinePx));
        if (m_object.isMarker()) {
            context.pushTransform(Vecta::Transform::translation(middle) * Vecta::Transform::rotation(m_object.rotation()));
            Lantern::Style needle;
            context.drawRect({-kLinePx / 2.f, -m_radius, kLinePx, m_radius}, 0.f, needle.setFill(color));
            context.pop();
        }
        const Vecta::Vector2f origin{2.f * m_radius + kLinePx + 2.f * kGapPx, middle.y - m_textSize.y / 2.f};
        Lantern::Style ground;
        context.drawRect({origin.x - kGapPx, origin.y, m_textSize.x + 2.f * kGapPx, m_textSize.y}, kGapPx,
                         ground.setFill(kGround));
        context.drawText(m_text, origin, color);
    }

    Tactile::TrackedObject m_object;
    float m_radius;
    QTextLayout m_text;
    Vecta::Vector2f m_textSize;
};

/// The outline of one ignored area.
class InputOverlay::AreaMark final : public Trellis::Widget
{
public:
    explicit AreaMark(Tactile::SurfaceArea area) : m_area(std::move(area))
    {
        setCSSType(QByteArrayLiteral("InputArea"));
        Vecta::Vector2f low = m_area.corners.front();
        Vecta::Vector2f high = low;
        for (const Vecta::Vector2f corner : m_area.corners) {
            low = {std::min(low.x, corner.x), std::min(low.y, corner.y)};
            high = {std::max(high.x, corner.x), std::max(high.y, corner.y)};
        }
        const Vecta::Vector2f rim{kLinePx, kLinePx};
        for (Vecta::Vector2f& corner : m_area.corners)
            corner = corner - low + rim;
        setLocation(low - rim);
        setSize(high - low + rim * 2.f);
    }

private:
    void renderContent(Lantern::RenderContext& context) const override
    {
        Lantern::Style line;
        line.setFill(kAreaColor);
        Vecta::Vector2f from = m_area.corners.back();
        for (const Vecta::Vector2f to : m_area.corners) {
            const Vecta::Vector2f edge = to - from;
            context.pushTransform(Vecta::Transform::translation(from) * Vecta::Transform::rotation(std::atan2(edge.y, edge.x)));
            context.drawRect({0.f, -kLinePx / 2.f, edge.length(), kLinePx}, 0.f, line);
            context.pop();
            from = to;
        }
    }

    Tactile::SurfaceArea m_area;
};

InputOverlay::InputOverlay(float pixelPitchMm, std::function<Areas()> ignoredAreas)
    : m_pixelPitchMm(std::max(pixelPitchMm, 0.01f)), m_ignoredAreas(std::move(ignoredAreas))
{
    setCSSType(QByteArrayLiteral("InputOverlay"));
    setInputEnabled(false);
    setUpdating(true);
    setLocation({0.f, 0.f}); // the table's corner, independent of the layer's layout
}

InputOverlay::~InputOverlay() = default;

void InputOverlay::update(const Trellis::FrameInfo&)
{
    showAreas();
    const Tactile::Sample& sample = Trellis::Application::instance()->grabManager()->currentSample();
    for (Mark* mark : m_marks)
        mark->isSeen = false;
    for (const Tactile::TrackedObject& finger : sample.fingers)
        show(finger);
    for (const Tactile::Marker& marker : sample.markers)
        show(marker);
    const auto gone = std::stable_partition(m_marks.begin(), m_marks.end(), [](const Mark* mark) { return mark->isSeen; });
    for (auto it = gone; it != m_marks.end(); ++it)
        (*it)->removeFromParent();
    m_marks.erase(gone, m_marks.end());
}

void InputOverlay::showAreas()
{
    Areas areas = m_ignoredAreas ? m_ignoredAreas() : Areas();
    if (areas == m_areas)
        return;
    m_areas = std::move(areas);
    for (AreaMark* outline : m_outlines)
        outline->removeFromParent();
    m_outlines.clear();
    for (const Tactile::SurfaceArea& area : m_areas) {
        if (area.corners.empty())
            continue;
        const auto outline = Bedrock::makeIntrusive<AreaMark>(area);
        outline->postConstruct();
        m_outlines.push_back(outline.get());
        addChild(outline);
    }
}

void InputOverlay::show(const Tactile::TrackedObject& object)
{
    const auto known = std::find_if(m_marks.begin(), m_marks.end(), [&](const Mark* mark) { return mark->id() == object.id(); });
    if (known != m_marks.end())
        return (*known)->follow(object);
    const auto mark = Bedrock::makeIntrusive<Mark>(object, m_pixelPitchMm);
    mark->postConstruct();
    m_marks.push_back(mark.get());
    addChild(mark);
}
}
