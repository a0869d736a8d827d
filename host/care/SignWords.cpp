#include "care/SignWords.hpp"

#include <Facet/AttributeT.hpp>
#include <Trellis/Widget.hpp>

namespace Host
{
namespace
{
using Vecta::Vector2f;

constexpr float kSameWordsPlaceSquaredPx = 0.25f;
}

void placeSignWords(Trellis::Widget& words, const Trellis::Widget& sign, Vector2f center, const SignSurroundings& surroundings)
{
    const Vector2f size = words.size(); // brings the layout up to date
    auto* const location = dynamic_cast<Facet::AttributeT<Vector2f>*>(words.attribute("location"));
    if (!location || !words.isVisible() || size.x <= 0.f || size.y <= 0.f)
        return;
    // A sign may come growing; the words have the place of its whole size at once.
    const Vector2f fromMiddle = (size - sign.size()) / 2.f;
    const Vector2f styled =
        location->value(location->hasValue(Facet::kStyleLayer) ? Facet::kStyleLayer : Facet::kDefaultLayer) + fromMiddle;
    PlaceSearch search;
    search.angleRadians = sign.rotation();
    search.center = center + styled.rotated(search.angleRadians);
    search.size = size;
    search.keepClear = {{0.f, 0.f, size.x, size.y}};
    search.card = surroundings.card;
    search.otherCards = surroundings.otherCards;
    search.table = surroundings.table;
    search.gapPx = surroundings.gapPx;
    const Vector2f place = search.find();
    if ((place - search.center).lengthSquared() < kSameWordsPlaceSquaredPx) {
        location->clearValue(Facet::kUserLayer);
        return;
    }
    const Vector2f moved = (place - center).rotated(-search.angleRadians) - fromMiddle;
    if ((moved - words.location()).lengthSquared() > kSameWordsPlaceSquaredPx)
        words.setLocation(moved);
}
}
