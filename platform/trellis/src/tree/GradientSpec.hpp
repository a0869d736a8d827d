#pragma once

#include <Lantern/BoxFill.hpp>
#include <Trellis/Length.hpp>

#include <QString>

#include <optional>
#include <vector>

namespace Trellis
{
/// A gradient as a style sheet writes it; its places are known with the size of what it fills.
struct GradientSpec
{
    enum class Extent { ClosestSide, FarthestSide, ClosestCorner, FarthestCorner };
    struct Stop
    {
        Bedrock::Color color;
        std::optional<Length> place;
        std::optional<Length> hint{}; ///< where half the way from the stop before is, in colours
    };

    Lantern::Gradient::Kind kind = Lantern::Gradient::Kind::Linear;
    float radians = 0.f;   ///< of a linear one: upwards, clockwise
    int toX = 0, toY = 0;  ///< or to that corner: -1 is left and top, 1 right and bottom; 0 for an angle
    bool isCircle = false; ///< of a radial one
    Extent extent = Extent::FarthestCorner;
    std::optional<Length> radiusX, radiusY; ///< in place of the extent
    Length centreX = Length::percent(50.f), centreY = Length::percent(50.f);
    std::vector<Stop> stops;

    /// Reads the function `terms[0]` with its arguments; false when it is none, or is not written as in CSS.
    [[nodiscard]] static bool read(const QVector<Facet::StyleTerm>& terms, GradientSpec& result);
    [[nodiscard]] static bool isGradient(const Facet::StyleTerm& term);
    [[nodiscard]] QString write() const;
    /// In a rectangle of that size, from its top left corner.
    [[nodiscard]] Lantern::Gradient in(Vecta::Vector2f size) const;

    friend bool operator==(const GradientSpec& a, const GradientSpec& b) { return a.write() == b.write(); }

private:
    [[nodiscard]] Vecta::Vector2f radiiIn(Vecta::Vector2f size, Vecta::Vector2f centre) const;
    [[nodiscard]] std::vector<Lantern::Gradient::Stop> stopsAlong(float lengthPx) const;
};
}
