#pragma once

#include <Bedrock/Color.hpp>

namespace Lantern
{
/// How a shape is filled and stroked. Colours are premultiplied by their alpha. A plain value: made on the stack where
/// it is used.
struct Style
{
    bool hasFill = false;
    Bedrock::Color fill;
    bool hasStroke = false;
    Bedrock::Color stroke;
    float strokeWidth = 0.f; ///< pixels of the current coordinates, centred on the outline

    Style& setFill(const Bedrock::Color& premultiplied)
    {
        hasFill = true;
        fill = premultiplied;
        return *this;
    }
    Style& setNoFill()
    {
        hasFill = false;
        return *this;
    }
    Style& setStroke(const Bedrock::Color& premultiplied, float width)
    {
        hasStroke = true;
        stroke = premultiplied;
        strokeWidth = width;
        return *this;
    }
};
}
