#include "values/ValueSuggestion.hpp"

#include <Bedrock/Color.hpp>
#include <Facet/NearestWord.hpp>

#include <QStringList>

namespace Cascara
{
namespace
{
using Kind = Facet::StyleTerm::Kind;

QStringList listOf(const char* words)
{
    return QString::fromLatin1(words).split(QLatin1Char(' '));
}

const QStringList& functions()
{
    static const QStringList kNames = listOf("calc min max clamp rgb rgba hsl hsla url var linear-gradient radial-gradient "
                                             "cubic-bezier steps");
    return kNames;
}

/// Those of the engine's own shorthands and of motion.
const QStringList& words()
{
    static const QStringList kWords =
        listOf(
            "none auto solid inset cover contain repeat no-repeat repeat-x repeat-y center left right top bottom all linear ease "
            "ease-in ease-out ease-in-out step-start step-end infinite normal reverse alternate alternate-reverse forwards "
            "backwards both running paused bold italic oblique transparent")
        + Bedrock::Color::names();
    return kWords;
}

/// What is near to the first term of that kind that is none of the known ones.
QString suggestion(const Facet::StyleValue& value, Kind kind, const QStringList& known)
{
    for (const Facet::StyleTerm& term : value.terms) {
        if (term.kind != kind || known.contains(term.text, Qt::CaseInsensitive))
            continue;
        const QString near = Facet::didYouMean(term.text, known);
        if (!near.isEmpty())
            return near;
    }
    return {};
}

bool suggests(const QString& text)
{
    return text.contains(QLatin1String("(did you mean"));
}
}

QString functionSuggestion(const QString& name)
{
    return functions().contains(name, Qt::CaseInsensitive) ? QString() : Facet::didYouMean(name, functions());
}

QString withFunctionSuggestion(const QString& expected, const Facet::StyleValue& value)
{
    return suggests(expected) ? expected : expected + suggestion(value, Kind::Function, functions());
}

QString withSuggestion(const QString& expected, const Facet::StyleValue& value)
{
    const QString text = withFunctionSuggestion(expected, value);
    return suggests(text) ? text : text + suggestion(value, Kind::Ident, words());
}
}
