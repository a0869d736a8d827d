// How gradients are written in style sheets.

#include "tree/GradientSpec.hpp"
#include "tree/ValueTerms.hpp"

#include <Vecta/Angle.hpp>

#include <QStringList>

#include <algorithm>
#include <iterator>
#include <utility>

namespace Trellis
{
namespace
{
using Facet::StyleTerm;
using Facet::StyleValue;
using Extent = GradientSpec::Extent;
using Parts = std::vector<StyleValue>;

constexpr std::pair<const char*, Extent> kExtents[] = {{"closest-side", Extent::ClosestSide},
                                                       {"farthest-side", Extent::FarthestSide},
                                                       {"closest-corner", Extent::ClosestCorner},
                                                       {"farthest-corner", Extent::FarthestCorner}};

bool readPlace(const StyleValue& part, Length& result)
{
    return Facet::StyleConversion<Length>::read(part, result, nullptr) && !result.isAuto();
}

/// A place alone, between two stops.
bool readHint(const Parts& parts, std::optional<Length>& hint)
{
    Length place;
    if (hint || parts.size() != 1 || !readPlace(parts.front(), place))
        return false;
    hint = place;
    return true;
}

/// A colour and up to two places, each a stop. Takes the `hint` before it.
bool readStop(const Parts& parts, std::optional<Length>& hint, std::vector<GradientSpec::Stop>& stops)
{
    std::vector<Length> places;
    std::optional<Bedrock::Color> color;
    for (const StyleValue& part : parts) {
        Length place;
        Bedrock::Color read;
        if (places.size() < 2 && readPlace(part, place))
            places.push_back(place);
        else if (!color && Facet::StyleConversion<Bedrock::Color>::read(part, read, nullptr))
            color = read;
        else
            return false;
    }
    if (!color)
        return false;
    if (places.empty())
        stops.push_back({*color, {}, std::exchange(hint, std::nullopt)});
    for (const Length& place : places)
        stops.push_back({*color, place, std::exchange(hint, std::nullopt)});
    return true;
}

/// `to right top`
bool readCorner(const Parts& parts, GradientSpec& result)
{
    for (std::size_t i = 1; i < parts.size(); ++i) {
        const bool isLeft = isWord(parts[i], "left"), isTop = isWord(parts[i], "top");
        if ((isLeft || isWord(parts[i], "right")) && result.toX == 0)
            result.toX = isLeft ? -1 : 1;
        else if ((isTop || isWord(parts[i], "bottom")) && result.toY == 0)
            result.toY = isTop ? -1 : 1;
        else
            return false;
    }
    return parts.size() > 1;
}

/// What stands before the stops of a linear gradient; `isThere` when something does.
bool readDirection(const Parts& parts, GradientSpec& result, bool& isThere)
{
    isThere = true;
    if (isWord(parts.front(), "to"))
        return readCorner(parts, result);
    Angle angle;
    const bool isAngle = parts.size() == 1 && parts.front().terms.size() == 1
        && parts.front().terms.first().kind == StyleTerm::Kind::Dimension
        && Facet::StyleConversion<Angle>::read(parts.front(), angle, nullptr);
    isThere = isAngle;
    result.radians = isAngle ? angle.radians : Vecta::kPiOf<float>;
    return true;
}

bool readCentre(const Parts& parts, std::size_t first, GradientSpec& result)
{
    const Parts words(parts.begin() + std::ptrdiff_t(first), parts.end());
    return readPosition(words, result.centreX, result.centreY);
}

/// What stands before the stops of a radial gradient: shape, size and `at` a place.
bool readShape(const Parts& parts, GradientSpec& result, bool& isThere)
{
    std::vector<Length> radii;
    bool hasShape = false, hasExtent = false;
    isThere = false;
    for (std::size_t i = 0; i < parts.size(); ++i) {
        const StyleValue& part = parts[i];
        Length radius;
        const bool isCircle = isWord(part, "circle");
        const auto* const extent = std::find_if(std::begin(kExtents), std::end(kExtents),
                                                [&part](const auto& entry) { return isWord(part, entry.first); });
        if (isWord(part, "at")) {
            isThere = true;
            if (!readCentre(parts, i + 1, result))
                return false;
            break;
        }
        if (!hasShape && (isCircle || isWord(part, "ellipse"))) {
            hasShape = true;
            result.isCircle = isCircle;
        } else if (!hasExtent && radii.empty() && extent != std::end(kExtents)) {
            hasExtent = true;
            result.extent = extent->second;
        } else if (!hasExtent && radii.size() < 2 && readPlace(part, radius)) {
            radii.push_back(radius);
        } else {
            return i == 0; // the first stop
        }
        isThere = true;
    }
    if (radii.empty())
        return true;
    if (!hasShape)
        result.isCircle = radii.size() == 1;
    result.radiusX = radii.front();
    if (radii.size() == 2)
        result.radiusY = radii.back();
    return (radii.size() == 1) == result.isCircle && !(result.isCircle && radii.front().isRelative());
}
}

bool GradientSpec::isGradient(const StyleTerm& term)
{
    return term.kind == StyleTerm::Kind::Function
        && (term.text.compare(QLatin1String("linear-gradient"), Qt::CaseInsensitive) == 0
            || term.text.compare(QLatin1String("radial-gradient"), Qt::CaseInsensitive) == 0);
}

bool GradientSpec::read(const QVector<StyleTerm>& terms, GradientSpec& result)
{
    if (terms.isEmpty() || !isGradient(terms.first()))
        return false;
    const auto entries = listEntries(terms.mid(1));
    if (entries.front().empty())
        return false;
    const bool isLinear = terms.first().text.startsWith(QLatin1Char('l'), Qt::CaseInsensitive);
    result = {};
    result.kind = isLinear ? Lantern::Gradient::Kind::Linear : Lantern::Gradient::Kind::Radial;
    bool isFirstTaken = false;
    if (!(isLinear ? readDirection : readShape)(entries.front(), result, isFirstTaken))
        return false;
    std::optional<Length> hint;
    for (std::size_t i = isFirstTaken ? 1 : 0; i < entries.size(); ++i) {
        const bool isHint = !result.stops.empty() && readHint(entries[i], hint);
        if (!isHint && !readStop(entries[i], hint, result.stops))
            return false;
    }
    return !hint && result.stops.size() >= 2;
}

QString GradientSpec::write() const
{
    using LengthText = Facet::StyleConversion<Length>;
    QStringList entries;
    const bool isLinear = kind == Lantern::Gradient::Kind::Linear;
    if (isLinear && (toX != 0 || toY != 0)) {
        QString corner = QStringLiteral("to");
        corner += toY < 0 ? QStringLiteral(" top") : toY > 0 ? QStringLiteral(" bottom") : QString();
        corner += toX < 0 ? QStringLiteral(" left") : toX > 0 ? QStringLiteral(" right") : QString();
        entries << corner;
    } else if (isLinear) {
        entries << QString::number(double(radians), 'g', 7) + QStringLiteral("rad");
    } else {
        QString shape = isCircle ? QStringLiteral("circle") : QStringLiteral("ellipse");
        if (radiusX)
            shape += QLatin1Char(' ') + LengthText::write(*radiusX);
        if (radiusY)
            shape += QLatin1Char(' ') + LengthText::write(*radiusY);
        if (!radiusX)
            shape += QLatin1Char(' ') + QLatin1String(kExtents[int(extent)].first);
        entries << shape + QStringLiteral(" at ") + LengthText::write(centreX) + QLatin1Char(' ') + LengthText::write(centreY);
    }
    for (const Stop& stop : stops) {
        if (stop.hint)
            entries << LengthText::write(*stop.hint);
        entries << stop.color.toString() + (stop.place ? QLatin1Char(' ') + LengthText::write(*stop.place) : QString());
    }
    return (isLinear ? QStringLiteral("linear-gradient(") : QStringLiteral("radial-gradient("))
        + entries.join(QStringLiteral(", ")) + QLatin1Char(')');
}
}
