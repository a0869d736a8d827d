#include "care/SignWords.hpp"

#include <Facet/AttributeT.hpp>
#include <Trellis/Widget.hpp>
#include <Vecta/Transform.hpp>

#include <algorithm>

namespace Host
{
namespace
{
using Vecta::Vector2f;

using LocationAttribute = Facet::AttributeT<Vector2f>;

constexpr float kSameWordsPlaceSquaredPx = 0.25f;
constexpr float kEverywherePx = 1e6f;

LocationAttribute* locationOf(Trellis::Widget& words)
{
    return dynamic_cast<LocationAttribute*>(words.attribute(QByteArrayLiteral("location")));
}

PlaceSearch::Outline wordsOutline(const PlaceSearch& words, Vector2f center)
{
    const Vector2f half = words.size / 2.f;
    return (Vecta::Transform::translation(center) * Vecta::Transform::rotation(words.angleRadians))
        .mapCorners({-half.x, -half.y, words.size.x, words.size.y});
}

/// No corner is further away.
bool isNearOutline(const PlaceSearch::Outline& a, const PlaceSearch::Outline& b, float px)
{
    return std::equal(a.begin(), a.end(), b.begin(), [px](Vector2f from, Vector2f to) { return (to - from).length() <= px; });
}

/// Leaves out what the words do not touch anywhere within `reachPx` of their wanted centre.
void keepReached(PlaceSearch& words, float reachPx)
{
    const auto isFar = [&words, reachPx](const PlaceSearch::Outline& outline) {
        const Vector2f middle = (outline[0] + outline[2]) / 2.f;
        const float radius = (outline[0] - middle).length() + words.size.length() / 2.f;
        return (middle - words.center).length() > radius + reachPx;
    };
    for (auto* outlines : {&words.otherCards, &words.others})
        outlines->erase(std::remove_if(outlines->begin(), outlines->end(), isFar), outlines->end());
}
}

std::optional<SignWordsShape> signWordsShape(Trellis::Widget& words, const Trellis::Widget& sign)
{
    const Vector2f size = words.size(); // brings the layout up to date
    const LocationAttribute* const location = locationOf(words);
    if (!location || !words.isVisible() || size.x <= 0.f || size.y <= 0.f)
        return std::nullopt;
    const auto layer = location->hasValue(Facet::kStyleLayer) ? Facet::kStyleLayer : Facet::kDefaultLayer;
    return SignWordsShape{size, sign.size(), location->value(layer), sign.rotation()};
}

PlaceSearch::Outline SignWords::place(Trellis::Widget& words, const SignWordsShape& shape, Vector2f center,
                                      const SignSurroundings& surroundings)
{
    // A sign may come growing; the words have the place of its whole size at once.
    const Vector2f fromMiddle = (shape.size - shape.signSize) / 2.f;
    PlaceSearch search;
    search.angleRadians = shape.angleRadians;
    search.center = center + (shape.location + fromMiddle).rotated(search.angleRadians);
    search.size = shape.size;
    search.keepClear = {{0.f, 0.f, shape.size.x, shape.size.y}};
    search.card = surroundings.card;
    search.otherCards = surroundings.otherCards;
    search.others = surroundings.others;
    search.table = surroundings.table;
    search.gapPx = surroundings.gapPx;
    if (m_searched && isStillRight(shape, search, surroundings.tremblePx))
        return wordsOutline(search, center + m_searched->fromCenter.rotated(search.angleRadians));

    const Vector2f place = search.find();
    const float movedPx = (place - search.center).length();
    m_searched.emplace();
    m_searched->shape = shape;
    // Where other widgets or cards are covered, room that is made anywhere may be better.
    m_searched->reachPx = search.suits(place) ? movedPx + search.gapPx + surroundings.tremblePx : kEverywherePx;
    m_searched->fromCenter = (place - center).rotated(-search.angleRadians);
    keepReached(search, m_searched->reachPx);
    m_searched->search = search;
    if (movedPx * movedPx < kSameWordsPlaceSquaredPx) {
        locationOf(words)->clearValue(Facet::kUserLayer);
        return wordsOutline(search, place);
    }
    const Vector2f moved = m_searched->fromCenter - fromMiddle;
    if ((moved - words.location()).lengthSquared() > kSameWordsPlaceSquaredPx)
        words.setLocation(moved);
    return wordsOutline(search, place);
}

bool SignWords::isStillRight(const SignWordsShape& shape, const PlaceSearch& now, float tremblePx) const
{
    const PlaceSearch& before = m_searched->search;
    if (!shape.isSameUnturned(m_searched->shape) || now.table != before.table || now.gapPx != before.gapPx
        || !isNearOutline(now.card, before.card, tremblePx))
        return false;
    PlaceSearch reached = now;
    keepReached(reached, m_searched->reachPx);
    const auto isSame = [tremblePx](const auto& a, const auto& b) { return isNearOutline(a, b, tremblePx); };
    const auto areSame = [&isSame](const auto& a, const auto& b) {
        return std::equal(a.begin(), a.end(), b.begin(), b.end(), isSame);
    };
    return areSame(reached.otherCards, before.otherCards) && areSame(reached.others, before.others);
}
}
