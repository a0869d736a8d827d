#include "tree/Background.hpp"

#include "tree/ValueTerms.hpp"

#include <QStringList>

#include <algorithm>
#include <type_traits>

namespace Trellis
{
namespace
{
using Facet::StyleTerm;
using Facet::StyleValue;
using Parts = std::vector<StyleValue>;
using LengthText = Facet::StyleConversion<Length>;

constexpr std::size_t kMostEntries = 16;

bool readEntry(const Parts& parts, BackgroundImage& result)
{
    if (parts.size() != 1)
        return false;
    const StyleTerm& term = parts.front().terms.first();
    if (GradientSpec::isGradient(term)) {
        result.gradient.emplace();
        return GradientSpec::read(parts.front().terms, *result.gradient);
    }
    result.file = term.text;
    return term.kind == StyleTerm::Kind::Url || term.kind == StyleTerm::Kind::String;
}

bool readEntry(const Parts& parts, BackgroundSize& result)
{
    if (parts.empty() || parts.size() > 2)
        return false;
    const bool isCover = isWord(parts.front(), "cover");
    if (parts.size() == 1 && (isCover || isWord(parts.front(), "contain"))) {
        result.kind = isCover ? BackgroundSize::Kind::Cover : BackgroundSize::Kind::Contain;
        return true;
    }
    return LengthText::read(parts.front(), result.width, nullptr)
        && (parts.size() == 1 || LengthText::read(parts.back(), result.height, nullptr));
}

bool readEntry(const Parts& parts, BackgroundPosition& result)
{
    return readPosition(parts, result.x, result.y);
}

bool readEntry(const Parts& parts, BackgroundRepeat& result)
{
    if (parts.empty() || parts.size() > 2)
        return false;
    const auto isRepeated = [](const StyleValue& part) { return isWord(part, "repeat"); };
    const auto isValid = [&](const StyleValue& part) { return isRepeated(part) || isWord(part, "no-repeat"); };
    const bool isAcross = isWord(parts.front(), "repeat-x");
    if (parts.size() == 1 && (isAcross || isWord(parts.front(), "repeat-y"))) {
        result = {isAcross, !isAcross};
        return true;
    }
    result = {isRepeated(parts.front()), isRepeated(parts.back())};
    return isValid(parts.front()) && isValid(parts.back());
}

QString writeEntry(const BackgroundImage& image)
{
    return image.gradient ? image.gradient->write() : QStringLiteral("url(\"%1\")").arg(image.file);
}

QString writeEntry(const BackgroundSize& size)
{
    if (size.kind != BackgroundSize::Kind::Given)
        return size.kind == BackgroundSize::Kind::Cover ? QStringLiteral("cover") : QStringLiteral("contain");
    return LengthText::write(size.width) + QLatin1Char(' ') + LengthText::write(size.height);
}

QString writeEntry(const BackgroundPosition& position)
{
    return LengthText::write(position.x) + QLatin1Char(' ') + LengthText::write(position.y);
}

QString writeEntry(const BackgroundRepeat& repeat)
{
    if (repeat.x != repeat.y)
        return repeat.x ? QStringLiteral("repeat-x") : QStringLiteral("repeat-y");
    return repeat.x ? QStringLiteral("repeat") : QStringLiteral("no-repeat");
}

const char* expectation(const BackgroundImage&)
{
    return "expected none or url()s, linear-gradient()s and radial-gradient()s separated by commas";
}

const char* expectation(const BackgroundSize&)
{
    return "expected one or two lengths, cover or contain";
}

const char* expectation(const BackgroundPosition&)
{
    return "expected one or two of left, center, right, top, bottom and lengths";
}

const char* expectation(const BackgroundRepeat&)
{
    return "expected repeat, no-repeat, repeat-x or repeat-y";
}
}

Vecta::Rect backgroundTile(const Vecta::Rect& area, Vecta::Vector2f own, const BackgroundSize& size,
                           const BackgroundPosition& position)
{
    Vecta::Vector2f shown{area.width, area.height};
    const bool hasOwn = own.x > 0.f && own.y > 0.f;
    if (size.kind == BackgroundSize::Kind::Given) {
        const bool isWidthAuto = size.width.isAuto(), isHeightAuto = size.height.isAuto();
        shown = {size.width.resolve(area.width, hasOwn ? own.x : area.width),
                 size.height.resolve(area.height, hasOwn ? own.y : area.height)};
        if (hasOwn && isWidthAuto && !isHeightAuto)
            shown.x = own.x * shown.y / own.y;
        else if (hasOwn && isHeightAuto && !isWidthAuto)
            shown.y = own.y * shown.x / own.x;
    } else if (hasOwn) {
        const float across = area.width / own.x, along = area.height / own.y;
        shown = own * (size.kind == BackgroundSize::Kind::Cover ? std::max(across, along) : std::min(across, along));
    }
    return {area.x + position.x.resolve(area.width - shown.x), area.y + position.y.resolve(area.height - shown.y), shown.x,
            shown.y};
}
}

namespace Facet
{
template <class T>
bool StyleConversion<Trellis::BackgroundList<T>>::read(const StyleValue& value, Trellis::BackgroundList<T>& result,
                                                       QString* error)
{
    result.entries.clear();
    if (std::is_same_v<T, Trellis::BackgroundImage> && Trellis::isWord(value, "none"))
        return true;
    const auto entries = Trellis::listEntries(value.terms);
    for (const auto& parts : entries) {
        T entry;
        if (entries.size() > Trellis::kMostEntries || !Trellis::readEntry(parts, entry)) {
            if (error)
                *error = QString::fromUtf8(Trellis::expectation(entry));
            return false;
        }
        result.entries.push_back(std::move(entry));
    }
    return true;
}

template <class T>
QString StyleConversion<Trellis::BackgroundList<T>>::write(const Trellis::BackgroundList<T>& value)
{
    QStringList entries;
    for (const T& entry : value.entries)
        entries << Trellis::writeEntry(entry);
    if (entries.isEmpty())
        return std::is_same_v<T, Trellis::BackgroundImage> ? QStringLiteral("none") : Trellis::writeEntry(T());
    return entries.join(QStringLiteral(", "));
}

template struct StyleConversion<Trellis::BackgroundImages>;
template struct StyleConversion<Trellis::BackgroundSizes>;
template struct StyleConversion<Trellis::BackgroundPositions>;
template struct StyleConversion<Trellis::BackgroundRepeats>;
}
