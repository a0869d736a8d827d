#pragma once

#include "LocalPlaces.hpp"
#include "RoundBoxCoverage.hpp"
#include "RoundBoxSpans.hpp"
#include "SampledPixels.hpp"

namespace Lantern
{
/// A picture that is scaled or turned, in a box with round corners. Any thread.
class RoundPicturePixels final : public PixelSource
{
public:
    /// `picture`: drawn into the rectangle of `box`; it can be drawn. `toDevice`: invertible. `box`: with corners that fit.
    RoundPicturePixels(SampledPixels picture, const QTransform& toDevice, const RoundBox& box);
    [[nodiscard]] PixelSpan span(int y) const override;
    void draw(QRgb* row, int y, int begin, int end, const PixelSpan& span) const override;

private:
    void drawEdge(QRgb* row, int y, int begin, int end) const;

    SampledPixels m_picture;
    LocalPlaces m_places;
    RoundBoxCoverage m_box;
    RoundBoxSpans m_spans;
};
}
