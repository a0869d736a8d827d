#pragma once

#include <Bedrock/Export.hpp>

#include <QStringList>

#include <optional>

namespace Bedrock
{
/// Red, green, blue and alpha, each 0..1.
struct TAVOLA_EXPORT Color
{
    float red = 0.f;
    float green = 0.f;
    float blue = 0.f;
    float alpha = 1.f;

    /// Reads "#RGB", "#RGBA", "#RRGGBB", "#RRGGBBAA" (alpha last, as CSS Color 4 has it), "transparent" and the colour
    /// names of CSS; nothing for anything else. (QColor reads eight digits with alpha first and cannot be used here.)
    [[nodiscard]] static std::optional<Color> parse(const QString& text);
    /// All colour names.
    [[nodiscard]] static QStringList names();
    /// As `parse`; opaque black for anything that is no colour.
    [[nodiscard]] static Color fromString(const QString& text);

    /// Red, green and blue multiplied by alpha.
    [[nodiscard]] Color premultiplied() const noexcept { return {red * alpha, green * alpha, blue * alpha, alpha}; }
    /// "#RRGGBB", or "#RRGGBBAA" when not opaque.
    [[nodiscard]] QString toString() const;

    friend bool operator==(const Color& a, const Color& b) noexcept
    {
        return a.red == b.red && a.green == b.green && a.blue == b.blue && a.alpha == b.alpha;
    }
    friend bool operator!=(const Color& a, const Color& b) noexcept { return !(a == b); }
};
}
