#include "motion/TransitionList.hpp"

#include <Facet/NearestWord.hpp>

#include <algorithm>
#include <cmath>
#include <iterator>

namespace Cascara
{
using Facet::StyleTerm;
using Kind = Facet::StyleTerm::Kind;

namespace
{
const char* const kAnimatable[] = {
    "background-color", "border-color", "border-radius", "border-width", "bottom",     "caret-color",    "color",
    "font-size",        "font-weight",  "gap",           "height",       "left",       "letter-spacing", "line-height",
    "location",         "margin",       "max-height",    "max-width",    "min-height", "min-width",      "opacity",
    "padding",          "right",        "rotation",      "scale",        "top",        "width"};

bool isComma(const StyleTerm& term)
{
    return term.kind == Kind::Delimiter && term.text == QLatin1String(",");
}

bool isTime(const StyleTerm& term)
{
    return term.kind == Kind::Number || (term.kind == Kind::Dimension && (term.unit == "s" || term.unit == "ms"));
}

double seconds(const StyleTerm& term)
{
    return term.unit == "ms" ? term.number / 1000.0 : term.number;
}

bool isWord(const StyleTerm& term, const char* word)
{
    return term.kind == Kind::Ident && term.text.compare(QLatin1String(word), Qt::CaseInsensitive) == 0;
}

/// Up to `end`.
bool readEntry(const QVector<StyleTerm>& terms, int position, int end, Transition& result, QString& error)
{
    bool hasName = false;
    bool hasTiming = false;
    int times = 0;
    while (position < end) {
        const StyleTerm& term = terms[position];
        if (isTime(term) && times < 2) {
            (times++ == 0 ? result.seconds : result.delaySeconds) = seconds(term);
            ++position;
        } else if (!hasTiming && TimingFunction::read(terms, position, result.timing)) {
            hasTiming = true;
        } else if (term.kind == Kind::Ident && !hasName) {
            hasName = true;
            if (!isWord(term, "all"))
                result.attribute = term.text.toUtf8();
            ++position;
        } else {
            error = QStringLiteral("expected an attribute or all, a time, a timing function and a delay");
            return false;
        }
    }
    if (!(result.seconds >= 0.0 && result.seconds <= 1e6) || !(std::abs(result.delaySeconds) <= 1e6)) {
        error = QStringLiteral("expected a time that is not negative");
        return false;
    }
    if (!result.attribute.isEmpty() && !isAnimatable(result.attribute)) {
        QStringList names;
        for (const char* name : kAnimatable)
            names.append(QString::fromLatin1(name));
        const QString written = QString::fromUtf8(result.attribute);
        error = QStringLiteral("'%1' takes no part in transitions%2").arg(written, Facet::didYouMean(written, names));
        return false;
    }
    return true;
}
}

bool isAnimatable(const QByteArray& attribute)
{
    return std::any_of(std::begin(kAnimatable), std::end(kAnimatable), [&](const char* name) { return attribute == name; });
}

bool TransitionList::read(const Facet::StyleValue& value, TransitionList& result, QString& error)
{
    TransitionList list;
    const auto& terms = value.terms;
    if (terms.size() == 1 && isWord(terms.first(), "none")) {
        result = list;
        return true;
    }
    int first = 0;
    for (int i = 0; i <= terms.size(); ++i) {
        if (i < terms.size() && terms[i].kind == Kind::Function) {
            i += int(terms[i].number);
            continue;
        }
        if (i < terms.size() && !isComma(terms[i]))
            continue;
        Transition entry;
        if (first == i) {
            error = QStringLiteral("expected an attribute or all, a time, a timing function and a delay");
            return false;
        }
        if (!readEntry(terms, first, i, entry, error))
            return false;
        list.m_entries.push_back(entry);
        first = i + 1;
    }
    result = list;
    return true;
}

const Transition* TransitionList::find(const QByteArray& attribute) const
{
    const auto found = std::find_if(m_entries.rbegin(), m_entries.rend(), [&](const Transition& entry) {
        return entry.attribute == attribute || entry.attribute.isEmpty();
    });
    const bool takesTime = found != m_entries.rend() && found->seconds + found->delaySeconds > 0.0;
    return takesTime && isAnimatable(attribute) ? &*found : nullptr;
}
}
