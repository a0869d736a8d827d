#include "values/FontSize.hpp"

#include <Facet/NameTable.hpp>
#include <Facet/StyleMath.hpp>

#include <algorithm>
#include <iterator>

namespace Cascara
{
using Facet::StyleTerm;

namespace
{
const QByteArray kFontSize("font-size");

struct SizeWord
{
    const char* word;
    double number;
    const char* unit;
};
constexpr double kMediumPx = 16.0;
/// In the proportions of CSS Fonts Level 4.
constexpr SizeWord kSizeWords[] = {{"xx-small", kMediumPx * 3 / 5, "px"},
                                   {"x-small", kMediumPx * 3 / 4, "px"},
                                   {"small", kMediumPx * 8 / 9, "px"},
                                   {"medium", kMediumPx, "px"},
                                   {"large", kMediumPx * 6 / 5, "px"},
                                   {"x-large", kMediumPx * 3 / 2, "px"},
                                   {"xx-large", kMediumPx * 2, "px"},
                                   {"xxx-large", kMediumPx * 3, "px"},
                                   {"larger", 1.2, "em"},
                                   {"smaller", 1 / 1.2, "em"}};

const SizeWord* sizeWord(const StyleTerm& term)
{
    if (term.kind != StyleTerm::Kind::Ident)
        return nullptr;
    const auto* const found = std::find_if(std::begin(kSizeWords), std::end(kSizeWords), [&term](const SizeWord& size) {
        return term.text.compare(QLatin1String(size.word), Qt::CaseInsensitive) == 0;
    });
    return found != std::end(kSizeWords) ? found : nullptr;
}

/// A share of the parent's font size, or a size of its own.
void putLength(StyleTerm& term)
{
    if (term.kind == StyleTerm::Kind::Percentage) {
        term.kind = StyleTerm::Kind::Dimension;
        term.number /= 100.0;
        term.unit = "em";
    } else if (const SizeWord* const word = sizeWord(term)) {
        term.kind = StyleTerm::Kind::Dimension;
        term.number = word->number;
        term.unit = word->unit;
    }
}
}

bool isFontSizeWord(const StyleTerm& term)
{
    return sizeWord(term) != nullptr;
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
                return term.kind == StyleTerm::Kind::Percentage || isFontSizeWord(term);
            }));
}

void resolveFontSize(const QByteArray& attribute, Facet::StyleValue& value, double fontSizePx)
{
    if (attribute == kFontSize)
        std::for_each(value.terms.begin(), value.terms.end(), putLength);
    Facet::StyleMath::resolveEm(value, fontSizePx);
}
}
