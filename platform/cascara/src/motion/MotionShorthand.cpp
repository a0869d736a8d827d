#include "motion/MotionShorthand.hpp"

#include "motion/MotionLonghand.hpp"
#include "motion/MotionReading.hpp"
#include "values/WideKeyword.hpp"

namespace Cascara
{
using Facet::StyleTerm;
using Facet::StyleValue;
using Kind = Facet::StyleTerm::Kind;
using namespace MotionReading;

namespace
{
using L = MotionLonghand;

struct Group
{
    const char* name;
    L first;
    L end; ///< the one after the last
    const char* expected;
};

const Group kGroups[] = {
    {"transition", L::TransitionProperty, L::AnimationName,
     "expected an attribute or all, a time, a timing function and a delay"},
    {"animation", L::AnimationName, L(kMotionLonghandCount),
     "expected the name of keyframes, a time, a timing function, a delay, a number of iterations, a direction, a fill mode and a "
     "play state"},
};

const Group* find(const QByteArray& name)
{
    for (const Group& group : kGroups)
        if (name == group.name)
            return &group;
    return nullptr;
}

StyleTerm word(const char* text)
{
    return {Kind::Ident, QString::fromLatin1(text), 0.0, {}};
}

StyleTerm comma()
{
    return {Kind::Delimiter, QStringLiteral(","), 0.0, {}};
}

const StyleTerm& noTime()
{
    static const StyleTerm term{Kind::Dimension, QStringLiteral("0s"), 0.0, "s"};
    return term;
}

QVector<StyleTerm> initialTerms(L longhand)
{
    switch (longhand) {
    case L::TransitionProperty: return {word("all")};
    case L::TransitionTiming:
    case L::AnimationTiming: return {word("ease")};
    case L::AnimationName:
    case L::AnimationFillMode: return {word("none")};
    case L::AnimationIterationCount: return {{Kind::Number, QStringLiteral("1"), 1.0, {}}};
    case L::AnimationDirection: return {word("normal")};
    case L::AnimationPlayState: return {word("running")};
    default: return {noTime()};
    }
}

/// Whether the longhand takes what stands at `position`, which is then moved past it. A longhand takes one thing.
bool takes(L longhand, const QVector<StyleTerm>& terms, int& position)
{
    double number = 0.0;
    QByteArray property;
    QString name;
    Direction direction{};
    FillMode fillMode{};
    PlayState playState{};
    TimingFunction function;
    // A number without a unit counts iterations there.
    const bool mayBeTime = longhand < L::AnimationName || terms[position].kind == Kind::Dimension;
    switch (longhand) {
    case L::TransitionDuration:
    case L::AnimationDuration:
    case L::TransitionDelay:
    case L::AnimationDelay: return mayBeTime && readTime(terms, position, -kMostSeconds, number);
    case L::TransitionTiming:
    case L::AnimationTiming: return TimingFunction::read(terms, position, function);
    case L::TransitionProperty: return readProperty(terms, position, property);
    case L::AnimationIterationCount: return readCount(terms, position, number);
    case L::AnimationDirection: return readDirection(terms, position, direction);
    case L::AnimationFillMode: return readFillMode(terms, position, fillMode);
    case L::AnimationPlayState: return readPlayState(terms, position, playState);
    case L::AnimationName: return readName(terms, position, name);
    }
    return false;
}

/// What a word may be, before it is a name.
const L kOrder[] = {L::TransitionDuration, L::TransitionTiming,  L::TransitionDelay,    L::TransitionProperty,
                    L::AnimationDuration,  L::AnimationTiming,   L::AnimationDelay,     L::AnimationIterationCount,
                    L::AnimationDirection, L::AnimationFillMode, L::AnimationPlayState, L::AnimationName};

/// Reads an entry, up to a comma or the end, into a list of terms for each longhand of the group.
bool readEntry(const Group& group, const QVector<StyleTerm>& terms, int& position,
               QVector<StyleTerm> (&lists)[kMotionLonghandCount])
{
    bool isGiven[kMotionLonghandCount] = {};
    const int first = position;
    while (position < terms.size() && !isComma(terms[position])) {
        const int start = position;
        for (const L longhand : kOrder) {
            if (longhand < group.first || longhand >= group.end || isGiven[int(longhand)] || !takes(longhand, terms, position))
                continue;
            isGiven[int(longhand)] = true;
            lists[int(longhand)] += terms.mid(start, position - start);
            break;
        }
        if (position == start)
            return false;
    }
    for (int i = int(group.first); i < int(group.end); ++i)
        if (!isGiven[i])
            lists[i] += initialTerms(L(i));
    return position > first;
}
}

bool MotionShorthand::isShorthand(const QByteArray& name)
{
    return find(name) != nullptr;
}

std::vector<QByteArray> MotionShorthand::attributes(const QByteArray& name)
{
    std::vector<QByteArray> result;
    if (const Group* const group = find(name))
        for (int i = int(group->first); i < int(group->end); ++i)
            result.push_back(motionLonghandName(L(i)));
    return result;
}

bool MotionShorthand::expand(const QByteArray& name, const StyleValue& value, std::vector<Shorthand::Part>& parts, QString& error)
{
    const Group& group = *find(name);
    parts.clear();
    QVector<StyleTerm> lists[kMotionLonghandCount];
    const bool isKeyword = wideKeyword(value) != WideKeyword::None;
    const bool isNone = value.terms.size() == 1 && isWord(value.terms.first(), "none");
    error = QString::fromLatin1(group.expected);
    if (isNone && group.first == L::TransitionProperty) {
        for (int i = int(group.first); i < int(group.end); ++i)
            lists[i] = initialTerms(L(i));
        lists[int(L::TransitionProperty)] = value.terms;
    } else if (!isKeyword) {
        for (int position = 0;; ++position) {
            if (!readEntry(group, value.terms, position, lists))
                return false;
            if (position == value.terms.size())
                break;
            for (int i = int(group.first); i < int(group.end); ++i)
                lists[i].push_back(comma());
        }
    }
    for (int i = int(group.first); i < int(group.end); ++i) {
        Shorthand::Part part{motionLonghandName(L(i)), isKeyword ? value : StyleValue{lists[i]}};
        if (!isKeyword && !checkMotionValue(L(i), part.value, error))
            return false;
        parts.push_back(std::move(part));
    }
    return true;
}
}
