#include "Bedrock/Color.hpp"

#include <QString>

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace Bedrock
{
namespace
{
struct NamedColor
{
    const char* name;
    std::uint32_t rgba;
};

constexpr NamedColor kNamedColors[] = {
    {"aqua", 0x00FFFFFF},  {"black", 0x000000FF},  {"blue", 0x0000FFFF},   {"fuchsia", 0xFF00FFFF},     {"gray", 0x808080FF},
    {"green", 0x008000FF}, {"grey", 0x808080FF},   {"lime", 0x00FF00FF},   {"maroon", 0x800000FF},      {"navy", 0x000080FF},
    {"olive", 0x808000FF}, {"orange", 0xFFA500FF}, {"purple", 0x800080FF}, {"red", 0xFF0000FF},         {"silver", 0xC0C0C0FF},
    {"teal", 0x008080FF},  {"white", 0xFFFFFFFF},  {"yellow", 0xFFFF00FF}, {"transparent", 0x00000000},
};

Color fromRgba(std::uint32_t rgba)
{
    const auto component = [rgba](int shift) { return float((rgba >> shift) & 0xFFu) / 255.f; };
    return {component(24), component(16), component(8), component(0)};
}

int hexDigit(QChar c)
{
    const ushort u = c.unicode();
    if (u >= '0' && u <= '9')
        return u - '0';
    if (u >= 'a' && u <= 'f')
        return u - 'a' + 10;
    if (u >= 'A' && u <= 'F')
        return u - 'A' + 10;
    return -1;
}

std::optional<Color> parseHex(const QString& text)
{
    const int digits = text.size() - 1;
    if (digits != 3 && digits != 4 && digits != 6 && digits != 8)
        return std::nullopt;
    const bool isShort = digits < 6;
    std::uint32_t rgba = 0;
    for (int i = 1; i <= digits; ++i) {
        const int digit = hexDigit(text.at(i));
        if (digit < 0)
            return std::nullopt;
        rgba = isShort ? (rgba << 8) | std::uint32_t(digit * 0x11) : (rgba << 4) | std::uint32_t(digit);
    }
    if (digits == 3 || digits == 6)
        rgba = (rgba << 8) | 0xFFu;
    return fromRgba(rgba);
}

int toByte(float component)
{
    return int(std::lround(std::clamp(component, 0.f, 1.f) * 255.f));
}
}

std::optional<Color> Color::parse(const QString& text)
{
    const QString trimmed = text.trimmed();
    if (trimmed.startsWith(QLatin1Char('#')))
        return parseHex(trimmed);
    for (const NamedColor& named : kNamedColors) {
        if (trimmed.compare(QLatin1String(named.name), Qt::CaseInsensitive) == 0)
            return fromRgba(named.rgba);
    }
    return std::nullopt;
}

Color Color::fromString(const QString& text)
{
    return parse(text).value_or(Color{});
}

QString Color::toString() const
{
    const std::uint32_t rgb = std::uint32_t(toByte(red)) << 16 | std::uint32_t(toByte(green)) << 8 | std::uint32_t(toByte(blue));
    QString text = QStringLiteral("#%1").arg(rgb, 6, 16, QLatin1Char('0'));
    if (toByte(alpha) != 255)
        text += QStringLiteral("%1").arg(toByte(alpha), 2, 16, QLatin1Char('0'));
    return text.toUpper();
}
}
