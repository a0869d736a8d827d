#include <Facet/NearestWord.hpp>
#include <Facet/StyleConversion.hpp>

#include <Vecta/Angle.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>

namespace Facet
{
namespace
{
using Kind = StyleTerm::Kind;

bool isDelimiter(const StyleTerm& term, char character)
{
    return term.kind == Kind::Delimiter && term.text == QLatin1Char(character);
}

bool isWord(const StyleTerm& term, const char* word)
{
    return term.kind == Kind::Ident && term.text.compare(QLatin1String(word), Qt::CaseInsensitive) == 0;
}

/// The arguments of a colour function: three components, and alpha if it is given.
struct Arguments
{
    std::array<const StyleTerm*, 4> terms{};
    bool hasCommas = false;
};

/// Either "a, b, c, alpha" or "a b c / alpha".
std::optional<Arguments> argumentsOf(const StyleValue& value)
{
    if (int(value.terms.first().number) != value.terms.size() - 1 || value.terms.size() < 4)
        return std::nullopt;
    Arguments result;
    result.hasCommas = isDelimiter(value.terms[2], ',');
    int position = 1;
    for (std::size_t i = 0; i < 4; ++i) {
        const bool isAlpha = i == 3;
        if (position == value.terms.size())
            return isAlpha ? std::optional(result) : std::nullopt;
        if (i > 0 && (result.hasCommas || isAlpha) && !isDelimiter(value.terms[position++], result.hasCommas ? ',' : '/'))
            return std::nullopt;
        if (position == value.terms.size())
            return std::nullopt;
        result.terms[i] = &value.terms[position++];
    }
    return position == value.terms.size() ? std::optional(result) : std::nullopt;
}

/// A number, of which `full` is the whole, or a percentage; as 0..1.
std::optional<float> share(const StyleTerm& term, double full, bool mayBeNone)
{
    double result = 0.0;
    if (term.kind == Kind::Number)
        result = term.number / full;
    else if (term.kind == Kind::Percentage)
        result = term.number / 100.0;
    else if (!mayBeNone || !isWord(term, "none"))
        return std::nullopt;
    return float(std::clamp(result, 0.0, 1.0));
}

std::optional<Bedrock::Color> readRgb(const Arguments& arguments, float alpha)
{
    std::array<float, 3> parts{};
    for (std::size_t i = 0; i < 3; ++i) {
        const StyleTerm& term = *arguments.terms[i];
        const auto part = share(term, 255.0, !arguments.hasCommas);
        // With commas they are all numbers or all percentages.
        if (!part || (arguments.hasCommas && term.kind != arguments.terms[0]->kind))
            return std::nullopt;
        parts[i] = *part;
    }
    return Bedrock::Color{parts[0], parts[1], parts[2], alpha};
}

std::optional<double> hueDegrees(const StyleTerm& term, bool mayBeNone)
{
    if (term.kind == Kind::Number || (term.kind == Kind::Dimension && term.unit == "deg"))
        return term.number;
    if (term.kind == Kind::Dimension && term.unit == "rad")
        return Vecta::radiansToDegrees(term.number);
    if (term.kind == Kind::Dimension && term.unit == "grad")
        return term.number * 0.9;
    if (term.kind == Kind::Dimension && term.unit == "turn")
        return term.number * 360.0;
    return mayBeNone && isWord(term, "none") ? std::optional(0.0) : std::nullopt;
}

std::optional<Bedrock::Color> readHsl(const Arguments& arguments, float alpha)
{
    const bool mayBeNone = !arguments.hasCommas;
    const auto hue = hueDegrees(*arguments.terms[0], mayBeNone);
    const auto saturation = share(*arguments.terms[1], 100.0, mayBeNone);
    const auto lightness = share(*arguments.terms[2], 100.0, mayBeNone);
    const auto isPercentage = [&](std::size_t i) { return arguments.terms[i]->kind == Kind::Percentage; };
    if (!hue || !saturation || !lightness || !std::isfinite(*hue)
        || (arguments.hasCommas && !(isPercentage(1) && isPercentage(2))))
        return std::nullopt;
    const double amplitude = double(*saturation) * std::min(double(*lightness), 1.0 - double(*lightness));
    const auto component = [&](double offset) {
        double place = std::fmod(offset + *hue / 30.0, 12.0);
        if (place < 0.0)
            place += 12.0;
        return float(double(*lightness) - amplitude * std::max(-1.0, std::min({place - 3.0, 9.0 - place, 1.0})));
    };
    return Bedrock::Color{component(0.0), component(8.0), component(4.0), alpha};
}

std::optional<Bedrock::Color> readFunction(const StyleValue& value)
{
    const auto is = [&value](const char* name) {
        return value.terms.first().text.compare(QLatin1String(name), Qt::CaseInsensitive) == 0;
    };
    const bool isRgb = is("rgb") || is("rgba");
    const auto arguments = isRgb || is("hsl") || is("hsla") ? argumentsOf(value) : std::nullopt;
    if (!arguments)
        return std::nullopt;
    const StyleTerm* const alphaTerm = arguments->terms[3];
    const auto alpha = alphaTerm ? share(*alphaTerm, 1.0, !arguments->hasCommas) : std::optional(1.f);
    if (!alpha)
        return std::nullopt;
    return isRgb ? readRgb(*arguments, *alpha) : readHsl(*arguments, *alpha);
}

QString suggestion(const StyleValue& value)
{
    if (value.terms.isEmpty())
        return {};
    const StyleTerm& term = value.terms.first();
    if (term.kind == Kind::Ident && value.terms.size() == 1)
        return didYouMean(term.text, Bedrock::Color::names());
    const QStringList functions{QStringLiteral("rgb"), QStringLiteral("rgba"), QStringLiteral("hsl"), QStringLiteral("hsla")};
    return term.kind == Kind::Function && !functions.contains(term.text, Qt::CaseInsensitive) ? didYouMean(term.text, functions)
                                                                                              : QString();
}
}

bool StyleConversion<Bedrock::Color>::read(const StyleValue& value, Bedrock::Color& result, QString* error)
{
    std::optional<Bedrock::Color> color;
    if (!value.terms.isEmpty()) {
        const StyleTerm& term = value.terms.first();
        if (term.kind == Kind::Function)
            color = readFunction(value);
        else if (value.terms.size() == 1 && term.kind == Kind::Hash)
            color = Bedrock::Color::parse(QLatin1Char('#') + term.text);
        else if (value.terms.size() == 1 && term.kind == Kind::Ident)
            color = Bedrock::Color::parse(term.text);
    }
    if (!color) {
        if (error)
            *error = QStringLiteral("expected a colour") + suggestion(value);
        return false;
    }
    result = *color;
    return true;
}

QString StyleConversion<Bedrock::Color>::write(const Bedrock::Color& value)
{
    return value.toString();
}
}
