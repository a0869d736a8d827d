#include "values/BoxShorthands.hpp"

#include "values/ShorthandParts.hpp"

#include <Facet/StyleConversion.hpp>

#include <algorithm>
#include <utility>

namespace Cascara
{
using Facet::StyleTerm;
using Facet::StyleValue;
using Kind = Facet::StyleTerm::Kind;

namespace
{
bool isLengthPart(const StyleValue& part)
{
    return isLength(part.terms.first());
}

/// One value goes to the attribute as it is, which says what is wrong with it.
bool expandAround(const StyleValue& value, std::vector<Shorthand::Part>& parts, bool (*isValid)(const StyleValue&))
{
    std::vector<StyleValue> given;
    for (int position = 0; position < value.terms.size();)
        given.push_back(readPart(value, position));
    const std::size_t count = given.size();
    if (count == 1) {
        parts[0].value = value;
        return true;
    }
    if (count > 4 || !std::all_of(given.begin(), given.end(), isValid))
        return false;
    parts[0].value = given[0];
    const std::size_t order[] = {0, 1, count > 2 ? 2u : 0u, count > 3 ? 3u : 1u};
    for (std::size_t side = 0; side < 4; ++side)
        parts[side + 1].value = given[order[side]];
    return true;
}

/// The values of a layer of `background`.
struct BackgroundLayer
{
    StyleValue image, position, size, repeat, color;
    bool hasSlash = false;
};

bool isRepetition(const StyleTerm& term)
{
    static const char* const kWords[] = {"repeat", "no-repeat", "repeat-x", "repeat-y"};
    return std::any_of(std::begin(kWords), std::end(kWords), [&term](const char* word) { return isWord(term, word); });
}

bool isPlace(const StyleTerm& term)
{
    static const char* const kWords[] = {"left", "center", "right", "top", "bottom"};
    return isLength(term) || term.kind == Kind::Percentage
        || std::any_of(std::begin(kWords), std::end(kWords), [&term](const char* word) { return isWord(term, word); });
}

bool isSize(const StyleTerm& term)
{
    return isLength(term) || term.kind == Kind::Percentage || isWord(term, "auto") || isWord(term, "cover")
        || isWord(term, "contain");
}

/// Also `none`, which is a picture that shows nothing.
bool isPicture(const StyleTerm& term)
{
    return term.kind == Kind::Url || isWord(term, "none")
        || (term.kind == Kind::Function && term.text.endsWith(QLatin1String("-gradient"), Qt::CaseInsensitive));
}

/// Adds a part to a value of up to two, which stand beside one another.
bool addTo(StyleValue& value, const StyleValue& part)
{
    value.terms += part.terms;
    return value.terms.size() <= 2 || value.terms.first().kind == Kind::Function || part.terms.first().kind == Kind::Function;
}

bool addPart(BackgroundLayer& layer, const StyleValue& part, bool& inSize)
{
    const StyleTerm& term = part.terms.first();
    if (isDelimiter(term, '/')) {
        inSize = !std::exchange(layer.hasSlash, true) && !layer.position.terms.isEmpty();
        return inSize;
    }
    if (inSize && isSize(term))
        return addTo(layer.size, part);
    inSize = false;
    if (isPicture(term))
        return layer.image.terms.isEmpty() && addTo(layer.image, part);
    if (isRepetition(term))
        return addTo(layer.repeat, part);
    if (isPlace(term))
        return !layer.hasSlash && addTo(layer.position, part);
    return layer.color.terms.isEmpty() && isColor(part) && addTo(layer.color, part);
}

/// Adds a layer's value, or the default, to that of the attribute.
void append(Shorthand::Part& part, const StyleValue& value, const char* word)
{
    if (!part.value.terms.isEmpty())
        part.value.terms.push_back({Kind::Delimiter, QStringLiteral(","), 0.0, {}});
    if (value.terms.isEmpty())
        part.value.terms.push_back({Kind::Ident, QString::fromLatin1(word), 0.0, {}});
    part.value.terms += value.terms;
}

/// False for a colour that is not that of the last layer, and for a layer that says nothing.
bool finishLayer(const BackgroundLayer& layer, bool isLast, std::vector<Shorthand::Part>& parts)
{
    if (!layer.color.terms.isEmpty()) {
        if (!isLast)
            return false;
        parts[0].value = layer.color;
    }
    if (layer.hasSlash && layer.size.terms.isEmpty())
        return false;
    const bool isPlaced = !layer.position.terms.isEmpty() || !layer.repeat.terms.isEmpty();
    const bool hasPicture = !layer.image.terms.isEmpty() && !isWord(layer.image.terms.first(), "none");
    // Of layers without a picture only the place of a single one counts, for a picture that another rule gives.
    if (!hasPicture && (!isPlaced || !isLast || !parts[1].value.terms.isEmpty()))
        return isPlaced || !layer.color.terms.isEmpty() || !layer.image.terms.isEmpty();
    if (hasPicture)
        append(parts[1], layer.image, "none");
    append(parts[2], layer.position, "left");
    if (layer.position.terms.isEmpty())
        parts[2].value.terms.push_back({Kind::Ident, QStringLiteral("top"), 0.0, {}});
    append(parts[3], layer.size, "auto");
    append(parts[4], layer.repeat, "repeat");
    return true;
}

bool expandLine(const StyleValue& value, std::vector<Shorthand::Part>& parts, const char* width, const char* color)
{
    static const StyleTerm kNoWidth{Kind::Number, QStringLiteral("0"), 0.0, {}};
    bool hasStyle = false;
    for (int position = 0; position < value.terms.size();) {
        const StyleTerm& term = value.terms[position];
        const bool isNone = isWord(term, "none") || isWord(term, "hidden");
        if (isNone || isWord(term, "solid")) {
            ++position;
            if (hasStyle || (isNone && value.terms.size() > 1))
                return false;
            hasStyle = true;
            if (isNone)
                (void)give(parts, width, {{kNoWidth}});
            continue;
        }
        const bool isWidth = isLength(term);
        StyleValue part = readPart(value, position);
        if ((!isWidth && !isColor(part)) || !give(parts, isWidth ? width : color, std::move(part)))
            return false;
    }
    return true;
}

}

bool expandBorder(const StyleValue& value, std::vector<Shorthand::Part>& parts)
{
    return expandLine(value, parts, "border-width", "border-color");
}

bool expandSide(const StyleValue& value, std::vector<Shorthand::Part>& parts)
{
    const QByteArray width = parts[0].attribute, color = parts[1].attribute;
    return expandLine(value, parts, width.constData(), color.constData());
}

bool expandLengths(const StyleValue& value, std::vector<Shorthand::Part>& parts)
{
    return expandAround(value, parts, isLengthPart);
}

bool expandColors(const StyleValue& value, std::vector<Shorthand::Part>& parts)
{
    return expandAround(value, parts, isColor);
}

bool expandBackground(const StyleValue& value, std::vector<Shorthand::Part>& parts)
{
    if (value.terms.size() == 1 && isWord(value.terms.first(), "none"))
        return true;
    BackgroundLayer layer;
    bool inSize = false;
    for (int position = 0; position < value.terms.size();) {
        const StyleValue part = readPart(value, position);
        if (!isDelimiter(part.terms.first(), ',')) {
            if (!addPart(layer, part, inSize))
                return false;
            continue;
        }
        if (!finishLayer(layer, false, parts))
            return false;
        layer = {};
        inSize = false;
    }
    return finishLayer(layer, true, parts);
}
}
