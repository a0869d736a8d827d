#include "tree/ValueTerms.hpp"

namespace Trellis
{
using Kind = Facet::StyleTerm::Kind;

std::vector<std::vector<Facet::StyleValue>> listEntries(const QVector<Facet::StyleTerm>& terms)
{
    std::vector<std::vector<Facet::StyleValue>> entries(1);
    for (int position = 0; position < terms.size();) {
        const Facet::StyleTerm& term = terms[position];
        if (term.kind == Kind::Delimiter && term.text == QLatin1String(",")) {
            entries.emplace_back();
            ++position;
            continue;
        }
        const int count = 1 + (term.kind == Kind::Function ? int(term.number) : 0);
        entries.back().push_back({terms.mid(position, count)});
        position += count;
    }
    return entries;
}

bool readPosition(const std::vector<Facet::StyleValue>& parts, Length& x, Length& y)
{
    if (parts.empty() || parts.size() > 2)
        return false;
    x = y = Length::percent(50.f);
    bool hasX = false, hasY = false;
    for (std::size_t i = 0; i < parts.size(); ++i) {
        const Facet::StyleValue& part = parts[i];
        const bool isLeft = isWord(part, "left"), isTop = isWord(part, "top");
        if (!hasX && (isLeft || isWord(part, "right"))) {
            hasX = true;
            x = Length::percent(isLeft ? 0.f : 100.f);
        } else if (!hasY && (isTop || isWord(part, "bottom"))) {
            hasY = true;
            y = Length::percent(isTop ? 0.f : 100.f);
        } else if (!isWord(part, "center")) {
            // Two numbers are across and along; beside a word a number is where its place in the order says.
            bool& has = i == 0 ? hasX : hasY;
            if (has || !Facet::StyleConversion<Length>::read(part, i == 0 ? x : y, nullptr) || (i == 0 ? x : y).isAuto())
                return false;
            has = true;
        }
    }
    return true;
}
}
