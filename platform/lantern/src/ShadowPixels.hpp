#pragma once

#include "BoxEdges.hpp"
#include "LocalPlaces.hpp"
#include "RoundBoxCoverage.hpp"
#include "ShadowMasks.hpp"

#include <Lantern/BoxShadow.hpp>

#include <QRgb>

namespace Lantern
{
/// A shadow outside of a box that may be turned and scaled, or inside of it.
class ShadowPixels final : public PixelSource
{
public:
    /// `toDevice`: invertible. `box`: with corners that fit. `opacity` 0..1.
    ShadowPixels(const QRect& area, const QTransform& toDevice, const RoundBox& box, const BoxShadow& shadow, double opacity);
    [[nodiscard]] PixelSpan span(int y) const override;
    void draw(QRgb* row, int y, int begin, int end, const PixelSpan& span) const override;

private:
    void drawRun(QRgb* row, int y, int begin, int end) const;

    LocalPlaces m_places;
    RoundBox m_shadowBox; ///< that throws the shadow, or, inset, that is free of it
    RoundBoxCoverage m_box;
    RoundBoxCoverage m_sharp;                 ///< of the shadow where nothing is blurred
    std::shared_ptr<const ShadowMask> m_mask; ///< else
    BoxEdges m_outer;                         ///< around what it draws
    BoxEdges m_clear;                         ///< around pixels that it leaves as they are
    bool m_hasClear = false;
    bool m_isInset;
    QRgb m_pixel;
};
}
