#include "values/CurrentColor.hpp"

#include <Facet/NameTable.hpp>

#include <algorithm>

namespace Cascara
{
using Facet::StyleTerm;

namespace
{
const QByteArray kColor("color");
}

int colorAttribute()
{
    static const int number = Facet::NameTable::instance().number(kColor);
    return number;
}

bool isCurrentColor(const StyleTerm& term)
{
    return term.kind == StyleTerm::Kind::Ident && term.text.compare(QLatin1String("currentcolor"), Qt::CaseInsensitive) == 0;
}

bool usesCurrentColor(const QByteArray& attribute, const Facet::StyleValue& value)
{
    const bool hasColors = attribute.endsWith(kColor) || attribute == "background-image" || attribute == "box-shadow";
    return hasColors && attribute != kColor && std::any_of(value.terms.begin(), value.terms.end(), isCurrentColor);
}

void resolveCurrentColor(Facet::StyleValue& value, const Bedrock::Color& color)
{
    for (StyleTerm& term : value.terms)
        if (isCurrentColor(term)) {
            term.kind = StyleTerm::Kind::Hash;
            term.text = color.toString().mid(1);
        }
    value.source.clear();
}

WideKeyword wideKeywordOf(const QByteArray& attribute, const Facet::StyleValue& value)
{
    const bool isOwn = attribute == kColor && value.terms.size() == 1 && isCurrentColor(value.terms.first());
    return isOwn ? WideKeyword::Inherit : wideKeyword(value);
}
}
