#pragma once

#include <Bedrock/Export.hpp>
#include <Facet/StyleConversion.hpp>

namespace Trellis
{
/// A distance of the layout: pixels, a share of the container (its content box; for an absolute widget all of it), computed of
/// both by `calc()` and the like, or left to the layout.
struct Length
{
    enum class Unit { Auto, Pixels, Percent, Computed };
    Unit unit = Unit::Auto;
    float value = 0.f;   ///< pixels, or percent (50 for 50%)
    int computation = 0; ///< which one

    [[nodiscard]] static Length pixels(float px) { return {Unit::Pixels, px, 0}; }
    [[nodiscard]] static Length percent(float p) { return {Unit::Percent, p, 0}; }
    [[nodiscard]] bool isAuto() const { return unit == Unit::Auto; }
    /// Whether it depends on what 100% is.
    [[nodiscard]] bool isRelative() const { return unit == Unit::Percent || unit == Unit::Computed; }
    /// In pixels; `reference` is what 100% means, `fallback` what auto means.
    [[nodiscard]] float resolve(float reference, float fallback = 0.f) const
    {
        return unit == Unit::Pixels ? value
            : unit == Unit::Percent ? reference * value / 100.f
            : unit == Unit::Auto    ? fallback
                                    : compute(reference);
    }
    friend bool operator==(const Length& a, const Length& b)
    {
        return a.unit == b.unit && a.value == b.value && a.computation == b.computation;
    }

private:
    [[nodiscard]] TAVOLA_EXPORT float compute(float reference) const;
};

/// Lengths of the four sides, written as in CSS with one to four values.
struct Edges
{
    Length top = Length::pixels(0), right = Length::pixels(0), bottom = Length::pixels(0), left = Length::pixels(0);
    friend bool operator==(const Edges& a, const Edges& b)
    {
        return a.top == b.top && a.right == b.right && a.bottom == b.bottom && a.left == b.left;
    }
};

/// An angle, written in style sheets with deg, grad, rad or turn (a bare number is degrees).
struct Angle
{
    float radians = 0.f;
    friend bool operator==(const Angle& a, const Angle& b) { return a.radians == b.radians; }
};
}

namespace Facet
{
template <>
struct TAVOLA_EXPORT StyleConversion<Trellis::Length>
{
    static bool read(const StyleValue& value, Trellis::Length& result, QString* error);
    static QString write(const Trellis::Length& value);
};
template <>
struct TAVOLA_EXPORT StyleConversion<Trellis::Edges>
{
    static bool read(const StyleValue& value, Trellis::Edges& result, QString* error);
    static QString write(const Trellis::Edges& value);
};
template <>
struct TAVOLA_EXPORT StyleConversion<Trellis::Angle>
{
    static bool read(const StyleValue& value, Trellis::Angle& result, QString* error);
    static QString write(const Trellis::Angle& value);
};
}
