#include "values/ShorthandParts.hpp"

#include "values/CurrentColor.hpp"

#include <Facet/StyleConversion.hpp>
#include <Facet/StyleMath.hpp>

namespace Cascara
{
using Facet::StyleTerm;
using Facet::StyleValue;
using Kind = Facet::StyleTerm::Kind;

bool isWord(const StyleTerm& term, const char* word)
{
    return term.kind == Kind::Ident && term.text.compare(QLatin1String(word), Qt::CaseInsensitive) == 0;
}

bool isDelimiter(const StyleTerm& term, char delimiter)
{
    return term.kind == Kind::Delimiter && term.text == QLatin1String(&delimiter, 1);
}

bool isMath(const StyleTerm& term)
{
    return term.kind == Kind::Function && Facet::StyleMath::isFunction(term.text);
}

bool isLength(const StyleTerm& term)
{
    return term.kind == Kind::Number || term.kind == Kind::Dimension || isMath(term);
}

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
    return (part.terms.size() == 1 && isCurrentColor(part.terms.first()))
        || Facet::StyleConversion<Bedrock::Color>::read(part, ignored, nullptr);
}

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
}
