#pragma once

#include "tree/GradientSpec.hpp"

#include <optional>
#include <vector>

namespace Trellis
{
// The attributes of what lies between a widget's colour and its border: pictures and gradients, the first on top. Sizes,
// positions and repetitions are lists, too, and used again from the start where they are shorter than that of the pictures.

/// A file or a gradient.
struct BackgroundImage
{
    QString file;
    std::optional<GradientSpec> gradient;
    friend bool operator==(const BackgroundImage& a, const BackgroundImage& b)
    {
        return a.file == b.file && a.gradient == b.gradient;
    }
};

struct BackgroundSize
{
    enum class Kind { Given, Cover, Contain };
    Kind kind = Kind::Given;
    Length width, height; ///< auto: the picture's own, or in proportion to the other
    friend bool operator==(const BackgroundSize& a, const BackgroundSize& b)
    {
        return a.kind == b.kind && a.width == b.width && a.height == b.height;
    }
};

/// 100% is the room that is left beside the picture.
struct BackgroundPosition
{
    Length x = Length::percent(0.f), y = Length::percent(0.f);
    friend bool operator==(const BackgroundPosition& a, const BackgroundPosition& b) { return a.x == b.x && a.y == b.y; }
};

struct BackgroundRepeat
{
    bool x = true, y = true;
    friend bool operator==(const BackgroundRepeat& a, const BackgroundRepeat& b) { return a.x == b.x && a.y == b.y; }
};

/// A list with commas; `none` is the empty list of pictures.
template <class T>
struct BackgroundList
{
    std::vector<T> entries;

    /// That of the picture with this number.
    [[nodiscard]] T of(std::size_t picture) const { return entries.empty() ? T() : entries[picture % entries.size()]; }
    friend bool operator==(const BackgroundList& a, const BackgroundList& b) { return a.entries == b.entries; }
};
using BackgroundImages = BackgroundList<BackgroundImage>;
using BackgroundSizes = BackgroundList<BackgroundSize>;
using BackgroundPositions = BackgroundList<BackgroundPosition>;
using BackgroundRepeats = BackgroundList<BackgroundRepeat>;

/// Where one copy of a picture lies, in `area`. `own`: the picture's own size; empty for a gradient.
[[nodiscard]] Vecta::Rect backgroundTile(const Vecta::Rect& area, Vecta::Vector2f own, const BackgroundSize& size,
                                         const BackgroundPosition& position);
}

namespace Facet
{
template <class T>
struct StyleConversion<Trellis::BackgroundList<T>>
{
    static bool read(const StyleValue& value, Trellis::BackgroundList<T>& result, QString* error);
    static QString write(const Trellis::BackgroundList<T>& value);
};
}
