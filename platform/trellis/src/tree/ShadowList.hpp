#pragma once

#include <Facet/StyleConversion.hpp>
#include <Lantern/BoxShadow.hpp>
#include <Vecta/Rect.hpp>

#include <vector>

namespace Trellis
{
/// The shadows of a box, the first on top; written as in CSS, without the "currentcolor": a shadow that names no colour is black.
struct ShadowList
{
    std::vector<Lantern::BoxShadow> shadows;

    /// `box`, and what is drawn around it.
    [[nodiscard]] Vecta::Rect reach(const Vecta::Rect& box) const;
    friend bool operator==(const ShadowList& a, const ShadowList& b) { return a.shadows == b.shadows; }
};
}

namespace Facet
{
template <>
struct StyleConversion<Trellis::ShadowList>
{
    static bool read(const StyleValue& value, Trellis::ShadowList& result, QString* error);
    static QString write(const Trellis::ShadowList& value);
};
}
