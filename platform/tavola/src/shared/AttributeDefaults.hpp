#pragma once

#include <Facet/StyleValue.hpp>

#include <QString>

#include <initializer_list>

namespace Trellis
{
class Widget;
}

namespace Tavola
{
/// An attribute and its value as a style sheet writes it: identifiers, numbers, lengths and percentages separated by blanks.
struct AttributeDefault
{
    const char* attribute;
    const char* value;
};

/// Sets an attribute of a widget by name on its default layer, below style sheets and run-time values. The attribute must exist.
void setDefault(Trellis::Widget& widget, const char* attribute, const char* value);
void setDefaults(Trellis::Widget& widget, std::initializer_list<AttributeDefault> defaults);
template <std::size_t N>
void setDefaults(Trellis::Widget& widget, const AttributeDefault (&defaults)[N])
{
    for (const AttributeDefault& entry : defaults)
        setDefault(widget, entry.attribute, entry.value);
}

/// Makes a widget movable, rotatable and scalable where no style says otherwise: what content on the table is.
void setFreeByDefault(Trellis::Widget& widget);

/// Hides a widget above all styles, or leaves its "display" to the styles again.
void setShown(Trellis::Widget& widget, bool shown);

/// The terms of a value written in words: "100px 50% #ffcc00 none".
[[nodiscard]] Facet::StyleValue styleValueOf(const QString& words);
}
