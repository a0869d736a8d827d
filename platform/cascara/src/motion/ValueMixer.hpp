#pragma once

#include <Facet/StyleValue.hpp>

#include <vector>

namespace Cascara
{
/// Values between two values of an attribute: numbers of one unit, points, edges and colours, these premultiplied. What cannot be
/// mixed is the first until halfway and the second from there on.
class ValueMixer
{
public:
    /// The two as `Facet::Attribute::toText` writes them.
    ValueMixer(const QString& from, const QString& to);

    /// The value at a progress that may lie outside of 0 to 1. Valid until the next call. Allocates nothing.
    [[nodiscard]] const Facet::StyleValue& at(double progress);

private:
    struct Number
    {
        int term;
        double from;
        double to;
    };
    struct Color
    {
        int term;             ///< of the function
        float from[4], to[4]; ///< premultiplied
    };
    bool pair(const QVector<Facet::StyleTerm>& from, const QVector<Facet::StyleTerm>& to);

    Facet::StyleValue m_from;
    Facet::StyleValue m_to;
    Facet::StyleValue m_mixed; ///< empty for what cannot be mixed
    std::vector<Number> m_numbers;
    std::vector<Color> m_colors;
};
}
