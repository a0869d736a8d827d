#pragma once

#include <Facet/StyleConversion.hpp>

namespace Trellis
{
/// The distance of lines: a multiple of the font's size, written as a number or percentage, or pixels; 0 or `normal` is as the
/// font wants it.
struct LineHeight
{
    float value = 0.f;
    bool isPixels = false;
    [[nodiscard]] float multipleOf(float fontSizePx) const { return isPixels ? value / fontSizePx : value; }
    friend bool operator==(LineHeight a, LineHeight b) { return a.value == b.value && a.isPixels == b.isPixels; }
};

/// What is added between letters in pixels; 0 is written as `normal`, too.
struct LetterSpacing
{
    float px = 0.f;
    friend bool operator==(LetterSpacing a, LetterSpacing b) { return a.px == b.px; }
};
}

namespace Facet
{
template <>
struct StyleConversion<Trellis::LineHeight>
{
    static bool read(const StyleValue& value, Trellis::LineHeight& result, QString* error);
    static QString write(const Trellis::LineHeight& value);
};
template <>
struct StyleConversion<Trellis::LetterSpacing>
{
    static bool read(const StyleValue& value, Trellis::LetterSpacing& result, QString* error);
    static QString write(const Trellis::LetterSpacing& value);
};
}
