#include "values/Shorthand.hpp"

#include "values/BoxShorthands.hpp"
#include "values/FontSize.hpp"
#include "values/ShorthandParts.hpp"
#include "values/WideKeyword.hpp"

#include <algorithm>
#include <iterator>

namespace Cascara
{
using Facet::StyleTerm;
using Facet::StyleValue;
using Kind = Facet::StyleTerm::Kind;

namespace
{
bool expandFont(const StyleValue& value, std::vector<Shorthand::Part>& parts)
{
    int position = 0;
    const auto isSize = [](const StyleTerm& term) {
        return term.kind == Kind::Dimension || term.kind == Kind::Percentage || isMath(term) || isFontSizeWord(term);
    };
    while (position < value.terms.size() && !isSize(value.terms[position])) {
        const StyleTerm& term = value.terms[position];
        const bool isWeight = term.kind == Kind::Number || isWord(term, "bold");
        if (isWord(term, "normal"))
            ++position;
        else if ((!isWeight && !isWord(term, "italic") && !isWord(term, "oblique"))
                 || !give(parts, isWeight ? "font-weight" : "font-style", readPart(value, position)))
            return false;
    }
    if (position == value.terms.size() || !give(parts, "font-size", readPart(value, position)))
        return false;
    const bool hasLineHeight = position < value.terms.size() && value.terms[position].kind == Kind::Delimiter
        && value.terms[position].text == QLatin1String("/");
    if (hasLineHeight && (++position == value.terms.size() || !give(parts, "line-height", readPart(value, position))))
        return false;
    StyleValue family;
    family.terms = value.terms.mid(position);
    return !family.terms.isEmpty() && give(parts, "font-family", std::move(family));
}

struct Entry
{
    const char* name;
    std::vector<QByteArray> attributes;
    bool (*expand)(const StyleValue& value, std::vector<Shorthand::Part>& parts);
    const char* expected;
};

constexpr const char* kLine = "expected a width, 'solid' and a colour, or none";

/// The attribute, and that of each side.
std::vector<QByteArray> around(const QByteArray& attribute, const char* what)
{
    std::vector<QByteArray> attributes{attribute};
    for (const char* side : {"border-top", "border-right", "border-bottom", "border-left"})
        attributes.push_back(QByteArray(side) + what);
    return attributes;
}

std::vector<QByteArray> withSides(std::vector<QByteArray> attributes)
{
    for (const char* what : {"-width", "-color"}) {
        const auto all = around({}, what);
        attributes.insert(attributes.end(), all.begin() + 1, all.end());
    }
    return attributes;
}

const Entry* find(const QByteArray& name)
{
    static const Entry kEntries[] = {
        {"border", withSides({"border-width", "border-color"}), expandBorder, kLine},
        {"border-top", {"border-top-width", "border-top-color"}, expandSide, kLine},
        {"border-right", {"border-right-width", "border-right-color"}, expandSide, kLine},
        {"border-bottom", {"border-bottom-width", "border-bottom-color"}, expandSide, kLine},
        {"border-left", {"border-left-width", "border-left-color"}, expandSide, kLine},
        {"border-width", around("border-width", "-width"), expandLengths, "expected one to four widths"},
        {"border-color", around("border-color", "-color"), expandColors, "expected one to four colours"},
        {"border-radius",
         {"border-radius", "border-top-left-radius", "border-top-right-radius", "border-bottom-right-radius",
          "border-bottom-left-radius"},
         expandLengths,
         "expected one to four radii"},
        {"background",
         {"background-color", "background-image", "background-position", "background-size", "background-repeat"},
         expandBackground,
         "expected none, or a colour and pictures, each with its position, '/' and size, and repetition"},
        {"font",
         {"font-style", "font-weight", "font-size", "line-height", "font-family"},
         expandFont,
         "expected a size with its unit and a family, as in 'italic bold 20px/1.4 Inter'"},
    };
    const auto found =
        std::find_if(std::begin(kEntries), std::end(kEntries), [&](const Entry& entry) { return name == entry.name; });
    return found != std::end(kEntries) ? found : nullptr;
}
}

bool Shorthand::isShorthand(const QByteArray& name)
{
    return find(name) != nullptr;
}

std::vector<QByteArray> Shorthand::attributes(const QByteArray& name)
{
    const Entry* const entry = find(name);
    return entry ? entry->attributes : std::vector<QByteArray>();
}

bool Shorthand::expand(const QByteArray& name, const StyleValue& value, std::vector<Part>& parts, QString& error)
{
    const Entry& entry = *find(name);
    parts.clear();
    const bool isKeyword = wideKeyword(value) != WideKeyword::None;
    for (const QByteArray& attribute : entry.attributes)
        parts.push_back({attribute, isKeyword ? value : StyleValue()});
    if (isKeyword)
        return true;
    if (value.terms.isEmpty() || !entry.expand(value, parts)) {
        error = QString::fromUtf8(entry.expected);
        return false;
    }
    for (Part& part : parts)
        if (part.value.terms.isEmpty())
            part.value.terms.push_back({Kind::Ident, QStringLiteral("initial"), 0.0, {}});
    return true;
}
}
