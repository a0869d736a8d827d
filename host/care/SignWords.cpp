#include "care/SignWords.hpp"

#include <Facet/AttributeT.hpp>
#include <Trellis/Widget.hpp>
#include <Vecta/Transform.hpp>

namespace Host
{
namespace
{
using Vecta::Vector2f;

using LocationAttribute = Facet::AttributeT<Vector2f>;

constexpr float kSameWordsPlaceSquaredPx = 0.25f;

LocationAttribute* locationOf(Trellis::Widget& words)
{
    return dynamic_cast<LocationAttribute*>(words.attribute(QByteArrayLiteral("location")));
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

PlaceSearch::Outline placeSignWords(Trellis::Widget& words, const SignWordsShape& shape, Vector2f center,
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
    const Vector2f place = search.find();
    const Vector2f half = search.size / 2.f;
    const auto outline = (Vecta::Transform::translation(place) * Vecta::Transform::rotation(search.angleRadians))
                             .mapCorners({-half.x, -half.y, search.size.x, search.size.y});
    if ((place - search.center).lengthSquared() < kSameWordsPlaceSquaredPx) {
        locationOf(words)->clearValue(Facet::kUserLayer);
        return outline;
    }
    const Vector2f moved = (place - center).rotated(-search.angleRadians) - fromMiddle;
    if ((moved - words.location()).lengthSquared() > kSameWordsPlaceSquaredPx)
        words.setLocation(moved);
    return outline;
}
}
