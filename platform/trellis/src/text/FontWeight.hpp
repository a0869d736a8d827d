#pragma once

#include <Facet/StyleConversion.hpp>

namespace Trellis
{
/// How bold letters are: 100 (thin) to 900 (black), written as a number, normal (400) or bold (700).
struct FontWeight
{
    int value = 400;
    friend bool operator==(FontWeight a, FontWeight b) { return a.value == b.value; }
};
}

namespace Facet
{
template <>
struct StyleConversion<Trellis::FontWeight>
{
    static bool read(const StyleValue& value, Trellis::FontWeight& result, QString* error);
    static QString write(const Trellis::FontWeight& value);
};
}
