#include "tree/ShadowList.hpp"

#include "tree/ValueTerms.hpp"

#include <QStringList>

#include <algorithm>

namespace Trellis
{
namespace
{
using Facet::StyleValue;

/// Beyond it a shadow has no more to show, and its blur would cost memory.
constexpr float kMostBlurPx = 500.f;
constexpr std::size_t kMostShadows = 16;

bool isPixels(const StyleValue& part)
{
    using Kind = Facet::StyleTerm::Kind;
    const Facet::StyleTerm& term = part.terms.first();
    return term.kind == Kind::Number || (term.kind == Kind::Dimension && term.unit == "px");
}

bool readShadow(const std::vector<StyleValue>& parts, Lantern::BoxShadow& result)
{
    std::vector<float> lengths;
    bool hasColor = false;
    bool lengthsEnded = false;
    for (const StyleValue& part : parts) {
        float length = 0.f;
        if (isWord(part, "inset")) {
            if (result.isInset)
                return false;
            result.isInset = true;
            lengthsEnded = !lengths.empty();
        } else if (!lengthsEnded && isPixels(part) && Facet::StyleConversion<float>::read(part, length, nullptr)) {
            lengths.push_back(length);
        } else if (!hasColor && Facet::StyleConversion<Bedrock::Color>::read(part, result.color, nullptr)) {
            hasColor = true;
            lengthsEnded = !lengths.empty();
        } else {
            return false;
        }
    }
    if (lengths.size() < 2 || lengths.size() > 4)
        return false;
    lengths.resize(4, 0.f);
    result.offset = {lengths[0], lengths[1]};
    result.blurPx = lengths[2];
    result.spreadPx = lengths[3];
    return result.blurPx >= 0.f && result.blurPx <= kMostBlurPx;
}
}

Vecta::Rect ShadowList::reach(const Vecta::Rect& box) const
{
    Vecta::Rect result = box;
    for (const Lantern::BoxShadow& shadow : shadows) {
        if (shadow.isInset)
            continue;
        // Antialiased edges may colour a neighbouring pixel.
        const float around = shadow.spreadPx + shadow.blurReachPx() + 1.f;
        const Vecta::Rect thrown{box.x + shadow.offset.x - around, box.y + shadow.offset.y - around, box.width + 2.f * around,
                                 box.height + 2.f * around};
        if (!box.isEmpty() && !thrown.isEmpty())
            result = result.united(thrown);
    }
    return result;
}
}

namespace Facet
{
bool StyleConversion<Trellis::ShadowList>::read(const StyleValue& value, Trellis::ShadowList& result, QString* error)
{
    result.shadows.clear();
    if (Trellis::isWord(value, "none"))
        return true;
    const auto entries = Trellis::listEntries(value.terms);
    for (const auto& parts : entries) {
        Lantern::BoxShadow shadow;
        if (entries.size() > Trellis::kMostShadows || !Trellis::readShadow(parts, shadow)) {
            if (error)
                *error =
                    QStringLiteral("expected none or shadows separated by commas, each two offsets, blur (0 to 500), spread, a "
                                   "colour and 'inset'");
            return false;
        }
        result.shadows.push_back(shadow);
    }
    return true;
}

QString StyleConversion<Trellis::ShadowList>::write(const Trellis::ShadowList& value)
{
    QStringList shadows;
    for (const Lantern::BoxShadow& shadow : value.shadows) {
        QStringList words;
        if (shadow.isInset)
            words << QStringLiteral("inset");
        for (const float length : {shadow.offset.x, shadow.offset.y, shadow.blurPx, shadow.spreadPx})
            words << StyleConversion<float>::write(length) + QLatin1String("px");
        words << shadow.color.toString();
        shadows << words.join(QLatin1Char(' '));
    }
    return shadows.isEmpty() ? QStringLiteral("none") : shadows.join(QStringLiteral(", "));
}
}
