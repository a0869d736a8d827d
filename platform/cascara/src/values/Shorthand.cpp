#include "values/Shorthand.hpp"

#include "values/WideKeyword.hpp"

#include <Facet/StyleConversion.hpp>
#include <Facet/StyleMath.hpp>

#include <algorithm>
#include <iterator>

namespace Cascara
{
using Facet::StyleTerm;
using Facet::StyleValue;
using Kind = Facet::StyleTerm::Kind;

namespace
{
bool isWord(const StyleTerm& term, const char* word)
{
    return term.kind == Kind::Ident && term.text.compare(QLatin1String(word), Qt::CaseInsensitive) == 0;
}

bool isMath(const StyleTerm& term)
{
    return term.kind == Kind::Function && Facet::StyleMath::isFunction(term.text);
}

/// A term, or a function with its arguments. Moves past it.
StyleValue readPart(const StyleValue& value, int& position)
{
    const int first = position++;
    if (value.terms[first].kind == Kind::Function)
        position += int(value.terms[first].number);
    StyleValue part;
    part.terms = value.terms.mid(first, position - first);
    return part;
}

bool isColor(const StyleValue& part)
{
    Bedrock::Color ignored;
    return Facet::StyleConversion<Bedrock::Color>::read(part, ignored, nullptr);
}

/// Fills the part of that name; false when it has a value.
bool give(std::vector<Shorthand::Part>& parts, const char* attribute, StyleValue value)
{
    for (Shorthand::Part& part : parts) {
        if (part.attribute != attribute)
            continue;
        if (!part.value.terms.isEmpty())
            return false;
        part.value = std::move(value);
        return true;
    }
    return false;
}

bool expandBorder(const StyleValue& value, std::vector<Shorthand::Part>& parts)
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
                (void)give(parts, "border-width", {{kNoWidth}});
            continue;
        }
        const bool isWidth = term.kind == Kind::Number || term.kind == Kind::Dimension || isMath(term);
        StyleValue part = readPart(value, position);
        if ((!isWidth && !isColor(part)) || !give(parts, isWidth ? "border-width" : "border-color", std::move(part)))
            return false;
    }
    return true;
}

bool expandBackground(const StyleValue& value, std::vector<Shorthand::Part>& parts)
{
    if (value.terms.size() == 1 && isWord(value.terms.first(), "none"))
        return true;
    return isColor(value) && give(parts, "background-color", value);
}

bool expandFont(const StyleValue& value, std::vector<Shorthand::Part>& parts)
{
    int position = 0;
    const auto isSize = [](const StyleTerm& term) {
        return term.kind == Kind::Dimension || term.kind == Kind::Percentage || isMath(term);
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

const Entry* find(const QByteArray& name)
{
    static const Entry kEntries[] = {
        {"border", {"border-width", "border-color"}, expandBorder, "expected a width, 'solid' and a colour, or none"},
        {"background", {"background-color"}, expandBackground, "expected a colour or none"},
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
