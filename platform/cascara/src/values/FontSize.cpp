#include "values/FontSize.hpp"

#include <Facet/NameTable.hpp>
#include <Facet/StyleMath.hpp>

#include <algorithm>

namespace Cascara
{
using Facet::StyleTerm;

namespace
{
const QByteArray kFontSize("font-size");
}

int fontSizeAttribute()
{
    static const int number = Facet::NameTable::instance().number(kFontSize);
    return number;
}

bool usesFontSize(const QByteArray& attribute, const Facet::StyleValue& value)
{
    return Facet::StyleMath::hasEm(value)
        || (attribute == kFontSize && std::any_of(value.terms.begin(), value.terms.end(), [](const StyleTerm& term) {
                return term.kind == StyleTerm::Kind::Percentage;
            }));
}

void resolveFontSize(const QByteArray& attribute, Facet::StyleValue& value, double fontSizePx)
{
    if (attribute == kFontSize)
        for (StyleTerm& term : value.terms)
            if (term.kind == StyleTerm::Kind::Percentage) {
                term.kind = StyleTerm::Kind::Dimension;
                term.number /= 100.0;
                term.unit = "em";
            }
    Facet::StyleMath::resolveEm(value, fontSizePx);
}
}
