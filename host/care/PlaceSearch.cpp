#include "care/PlaceSearch.hpp"

#include "care/ConvexShape.hpp"

#include <algorithm>
#include <cmath>
#include <optional>

namespace Host
{
namespace
{
using Vecta::Rect;
using Vecta::Vector2f;
using Corners = std::vector<Vector2f>;

long placeSearchCount = 0;

constexpr float kTouchingSquaredPx = 0.01f;
constexpr float kApartPx = 0.5f; ///< between two people's widgets, so that rounding makes none cover the other

Corners cornersOf(const PlaceSearch::Outline& outline)
{
    return {outline.begin(), outline.end()};
}

Corners turned(const Rect& rect, float angleRadians)
{
    return {Vector2f(rect.x, rect.y).rotated(angleRadians), Vector2f(rect.right(), rect.y).rotated(angleRadians),
            Vector2f(rect.right(), rect.bottom()).rotated(angleRadians), Vector2f(rect.x, rect.bottom()).rotated(angleRadians)};
}

Rect withMargin(const Rect& rect, float margin)
{
    return {rect.x - margin, rect.y - margin, rect.width + 2.f * margin, rect.height + 2.f * margin};
}

/// The centres with which the widget is whole on the table.
Rect roomOf(const PlaceSearch& s)
{
    const float c = std::abs(std::cos(s.angleRadians));
    const float n = std::abs(std::sin(s.angleRadians));
    const Vector2f half = Vector2f(c * s.size.x + n * s.size.y, n * s.size.x + c * s.size.y) / 2.f;
    const auto side = [](float halfExtent, float table) { return std::min(halfExtent, table / 2.f); };
    const float left = side(half.x, s.table.x);
    const float top = side(half.y, s.table.y);
    return {left, top, s.table.x - 2.f * left, s.table.y - 2.f * top};
}

/// The nearest point of a room that lies in none of some shapes.
class NearestFree
{
public:
    NearestFree(const Rect& room, std::vector<ConvexShape> obstacles) : m_room(room), m_obstacles(std::move(obstacles)) {}

    [[nodiscard]] std::optional<Vector2f> find(Vector2f wanted)
    {
        const Vector2f inside{std::clamp(wanted.x, m_room.x, m_room.right()), std::clamp(wanted.y, m_room.y, m_room.bottom())};
        if (isFree(inside))
            return inside;
        // The nearest point of a free area with straight edges is the foot of a perpendicular on one of them, or a corner.
        collectEdges();
        m_candidates.clear();
        for (std::size_t i = 0; i < m_edges.size(); ++i) {
            addFoot(m_edges[i], wanted);
            for (std::size_t k = i + 1; k < m_edges.size(); ++k)
                addCrossing(m_edges[i], m_edges[k]);
        }
        std::sort(m_candidates.begin(), m_candidates.end(),
                  [wanted](Vector2f a, Vector2f b) { return (a - wanted).lengthSquared() < (b - wanted).lengthSquared(); });
        const auto found =
            std::find_if(m_candidates.begin(), m_candidates.end(), [this](Vector2f point) { return isFree(point); });
        return found == m_candidates.end() ? std::nullopt : std::optional(*found);
    }

private:
    struct Edge
    {
        Vector2f from;
        Vector2f along;
    };

    void collectEdges()
    {
        m_edges.clear();
        const auto addAll = [this](const Corners& corners) {
            for (std::size_t i = 0; i < corners.size(); ++i)
                m_edges.push_back({corners[i], corners[(i + 1) % corners.size()] - corners[i]});
        };
        addAll(turned(m_room, 0.f));
        for (const ConvexShape& obstacle : m_obstacles)
            addAll(obstacle.corners());
    }

    [[nodiscard]] bool isFree(Vector2f point) const
    {
        return std::none_of(m_obstacles.begin(), m_obstacles.end(),
                            [point](const ConvexShape& obstacle) { return obstacle.contains(point); });
    }

    void add(Vector2f point)
    {
        const Vector2f inside{std::clamp(point.x, m_room.x, m_room.right()), std::clamp(point.y, m_room.y, m_room.bottom())};
        if ((inside - point).lengthSquared() <= kTouchingSquaredPx)
            m_candidates.push_back(inside);
    }

    void addFoot(const Edge& edge, Vector2f point)
    {
        const float length = edge.along.lengthSquared();
        if (length > 0.f)
            add(edge.from + edge.along * std::clamp(dot(point - edge.from, edge.along) / length, 0.f, 1.f));
    }

    void addCrossing(const Edge& a, const Edge& b)
    {
        const float area = cross(a.along, b.along);
        if (std::abs(area) < 1e-6f)
            return;
        const float onA = cross(b.from - a.from, b.along) / area;
        const float onB = cross(b.from - a.from, a.along) / area;
        if (onA >= 0.f && onA <= 1.f && onB >= 0.f && onB <= 1.f)
            add(a.from + a.along * onA);
    }

    Rect m_room;
    std::vector<ConvexShape> m_obstacles;
    std::vector<Edge> m_edges;
    Corners m_candidates;
};

/// The shapes that a place must be outside of.
struct Rule
{
    std::vector<ConvexShape> shapes;
    std::vector<ConvexShape> card; ///< in addition, where that leads not too far away: the card itself
};

/// The rules, from the strictest to the loosest.
class Rules
{
public:
    explicit Rules(const PlaceSearch& search) : m_search(search), m_whole(-search.size.x / 2.f, -search.size.y / 2.f) {}

    [[nodiscard]] std::vector<Rule> all() const
    {
        const PlaceSearch& s = m_search;
        std::vector<ConvexShape> parts;
        std::vector<ConvexShape> partsAtCard;
        for (const Rect& part : s.keepClear) {
            const Corners corners =
                turned(withMargin({m_whole.x + part.x, m_whole.y + part.y, part.width, part.height}, s.gapPx), s.angleRadians);
            partsAtCard.push_back(ConvexShape::placesOfOverlap(corners, cornersOf(s.card)));
            parts.push_back(partsAtCard.back());
            for (const auto& card : s.otherCards)
                parts.push_back(ConvexShape::placesOfOverlap(corners, cornersOf(card)));
        }
        const Rect whole{m_whole.x, m_whole.y, s.size.x, s.size.y};
        std::vector<ConvexShape> card;
        if (s.placement != Placement::At)
            card.push_back(ConvexShape::placesOfOverlap(turned(withMargin(whole, s.gapPx), s.angleRadians), cornersOf(s.card)));
        std::vector<Rule> rules;
        const Corners apart = turned(withMargin(whole, kApartPx), s.angleRadians);
        for (const float shownPart : {1.f, 0.7f, 0.4f}) {
            Rule withOthers{parts, card};
            for (const auto& other : s.others)
                withOthers.shapes.push_back(ConvexShape::placesOfOverlap(apart, middleOf(other, shownPart)));
            rules.push_back(std::move(withOthers));
        }
        rules.push_back({parts, card});
        rules.push_back({partsAtCard, {}});
        rules.emplace_back();
        return rules;
    }

private:
    /// The outline of a part of another widget around its middle.
    static Corners middleOf(const PlaceSearch::Outline& outline, float part)
    {
        const Vector2f middle = (outline[0] + outline[2]) / 2.f;
        Corners corners;
        for (const Vector2f& corner : outline)
            corners.push_back(middle + (corner - middle) * part);
        return corners;
    }

    const PlaceSearch& m_search;
    Vector2f m_whole; ///< the top left corner, from the centre
};

/// The centre next to the card in a direction of the widget's own.
Vector2f nextToCard(const PlaceSearch& s, Vector2f direction)
{
    const Vector2f outwards = direction.rotated(s.angleRadians);
    float reach = 0.f;
    for (const Vector2f& corner : s.card)
        reach = std::max(reach, dot(corner - s.center, outwards));
    const float half = (std::abs(direction.x) * s.size.x + std::abs(direction.y) * s.size.y) / 2.f;
    return s.center + outwards * (reach + s.gapPx + half);
}

std::vector<Vector2f> wantedCenters(const PlaceSearch& s)
{
    switch (s.placement) {
    case Placement::Beside: return {nextToCard(s, {1.f, 0.f}), nextToCard(s, {-1.f, 0.f})};
    case Placement::Below: return {nextToCard(s, {0.f, 1.f})};
    case Placement::Above: return {nextToCard(s, {0.f, -1.f})};
    case Placement::At: break;
    }
    return {s.center};
}

struct Found
{
    Vector2f center;
    float movedPx; ///< from the wanted centre
};

/// The place outside of the shapes that is nearest to a wanted centre, of several the first one.
std::optional<Found> nearest(const PlaceSearch& s, std::vector<ConvexShape> shapes)
{
    NearestFree search(roomOf(s), std::move(shapes));
    std::optional<Found> best;
    for (const Vector2f& wanted : wantedCenters(s))
        if (const auto found = search.find(wanted)) {
            const float movedPx = (*found - wanted).length();
            if (!best || movedPx < best->movedPx - 0.5f)
                best = Found{*found, movedPx};
        }
    return best;
}

std::optional<Found> nearest(const PlaceSearch& s, const Rule& rule)
{
    if (rule.card.empty())
        return nearest(s, rule.shapes);
    const float farPx = std::max(s.size.x, s.size.y) / 2.f;
    std::vector<ConvexShape> shapes = rule.shapes;
    shapes.insert(shapes.end(), rule.card.begin(), rule.card.end());
    const auto freeOfCard = nearest(s, std::move(shapes));
    if (freeOfCard && freeOfCard->movedPx <= farPx)
        return freeOfCard;
    const auto atCard = nearest(s, rule.shapes);
    return freeOfCard && (!atCard || freeOfCard->movedPx <= atCard->movedPx + farPx) ? freeOfCard : atCard;
}
}

long PlaceSearch::searchesMade() noexcept
{
    return placeSearchCount;
}

Vector2f PlaceSearch::find() const
{
    ++placeSearchCount;
    for (const Rule& rule : Rules(*this).all())
        if (const auto found = nearest(*this, rule))
            return found->center;
    return {table.x / 2.f, table.y / 2.f};
}

bool PlaceSearch::suits(Vector2f middle) const
{
    const Rule strictest = Rules(*this).all().front();
    const auto isIn = [middle](const ConvexShape& shape) { return shape.contains(middle); };
    return withMargin(roomOf(*this), kApartPx).contains(middle)
        && std::none_of(strictest.shapes.begin(), strictest.shapes.end(), isIn)
        && std::none_of(strictest.card.begin(), strictest.card.end(), isIn);
}
}
