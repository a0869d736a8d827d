#include "motion/MotionReading.hpp"

#include "values/WideKeyword.hpp"

#include <algorithm>
#include <iterator>
#include <limits>

namespace Cascara
{
using Facet::StyleTerm;
using Kind = Facet::StyleTerm::Kind;

namespace
{
template <class E>
struct Word
{
    const char* name;
    E value;
};

template <class E, std::size_t count>
bool readWord(const MotionReading::Terms& terms, int& position, const Word<E> (&words)[count], E& result)
{
    const auto found = std::find_if(std::begin(words), std::end(words),
                                    [&](const Word<E>& word) { return MotionReading::isWord(terms[position], word.name); });
    if (found == std::end(words))
        return false;
    result = found->value;
    ++position;
    return true;
}
}

bool MotionReading::isWord(const StyleTerm& term, const char* word)
{
    return term.kind == Kind::Ident && term.text.compare(QLatin1String(word), Qt::CaseInsensitive) == 0;
}

bool MotionReading::isComma(const StyleTerm& term)
{
    return term.kind == Kind::Delimiter && term.text == QLatin1String(",");
}

bool MotionReading::readTime(const Terms& terms, int& position, double leastSeconds, double& result)
{
    const StyleTerm& term = terms[position];
    if (term.kind != Kind::Number && (term.kind != Kind::Dimension || (term.unit != "s" && term.unit != "ms")))
        return false;
    const double seconds = term.unit == "ms" ? term.number / 1000.0 : term.number;
    if (!(seconds >= leastSeconds && seconds <= kMostSeconds))
        return false;
    result = seconds;
    ++position;
    return true;
}

bool MotionReading::readCount(const Terms& terms, int& position, double& result)
{
    const StyleTerm& term = terms[position];
    const bool isInfinite = isWord(term, "infinite");
    if (!isInfinite && (term.kind != Kind::Number || !(term.number >= 0.0)))
        return false;
    result = isInfinite ? std::numeric_limits<double>::infinity() : term.number;
    ++position;
    return true;
}

bool MotionReading::readProperty(const Terms& terms, int& position, QByteArray& result)
{
    const StyleTerm& term = terms[position];
    if (term.kind != Kind::Ident || isWord(term, "none") || wideKeyword(term.text) != WideKeyword::None)
        return false;
    result = isWord(term, "all") ? QByteArray() : term.text.toUtf8();
    ++position;
    return true;
}

bool MotionReading::readName(const Terms& terms, int& position, QString& result)
{
    const StyleTerm& term = terms[position];
    const bool isIdent = term.kind == Kind::Ident && wideKeyword(term.text) == WideKeyword::None;
    if (!isIdent && (term.kind != Kind::String || term.text.isEmpty()))
        return false;
    result = isWord(term, "none") ? QString() : term.text;
    ++position;
    return true;
}

bool MotionReading::readDirection(const Terms& terms, int& position, Direction& result)
{
    static constexpr Word<Direction> kWords[] = {{"normal", Direction::Normal},
                                                 {"reverse", Direction::Reverse},
                                                 {"alternate", Direction::Alternate},
                                                 {"alternate-reverse", Direction::AlternateReverse}};
    return readWord(terms, position, kWords, result);
}

bool MotionReading::readFillMode(const Terms& terms, int& position, FillMode& result)
{
    static constexpr Word<FillMode> kWords[] = {
        {"none", FillMode::None}, {"forwards", FillMode::Forwards}, {"backwards", FillMode::Backwards}, {"both", FillMode::Both}};
    return readWord(terms, position, kWords, result);
}

bool MotionReading::readPlayState(const Terms& terms, int& position, PlayState& result)
{
    static constexpr Word<PlayState> kWords[] = {{"running", PlayState::Running}, {"paused", PlayState::Paused}};
    return readWord(terms, position, kWords, result);
}

bool MotionReading::readDurations(const Facet::StyleValue* value, std::vector<double>& result, QString& error)
{
    const auto read = [](const Terms& terms, int& position, double& seconds) { return readTime(terms, position, 0.0, seconds); };
    if (!value || readList(*value, read, result))
        return true;
    error = QStringLiteral("expected a time that is not negative, as in 0.2s or 200ms");
    return false;
}

bool MotionReading::readDelays(const Facet::StyleValue* value, std::vector<double>& result, QString& error)
{
    const auto read = [](const Terms& terms, int& position, double& seconds) {
        return readTime(terms, position, -kMostSeconds, seconds);
    };
    if (!value || readList(*value, read, result))
        return true;
    error = QStringLiteral("expected a time, as in 0.2s or 200ms");
    return false;
}

bool MotionReading::readTimings(const Facet::StyleValue* value, std::vector<TimingFunction>& result, QString& error)
{
    if (!value || readList(*value, TimingFunction::read, result))
        return true;
    error = QStringLiteral("expected a timing function, as in ease-out, cubic-bezier(0.2, 0, 0, 1) or steps(4)");
    return false;
}
}
