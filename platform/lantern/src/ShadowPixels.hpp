#pragma once

#include "BoxEdges.hpp"
#include "LocalPlaces.hpp"
#include "RoundBoxCoverage.hpp"
#include "ShadowPlaces.hpp"

#include <Lantern/BoxShadow.hpp>

#include <QRgb>

#include <array>
#include <memory>
#include <optional>

namespace Lantern
{
/// A shadow outside of a box that may be turned and scaled, or inside of it. Any thread.
class ShadowPixels final : public PixelSource
{
public:
    /// `toDevice`: invertible. `box`: with corners that fit. `opacity` 0..1.
    ShadowPixels(const QRect& area, const QTransform& toDevice, const RoundBox& box, const BoxShadow& shadow, double opacity);
    [[nodiscard]] PixelSpan span(int y) const override;
    void draw(QRgb* row, int y, int begin, int end, const PixelSpan& span) const override;

private:
    /// `near`: the columns that the box itself may touch.
    void drawRun(QRgb* row, int y, int begin, int end, const PixelSpan& near) const;
    template <class Cast>
    void drawAtBox(QRgb* row, int y, int begin, int end, Cast castAt) const;

    LocalPlaces m_places;
    RoundBox m_shadowBox; ///< that throws the shadow, or, inset, that is free of it
    RoundBoxCoverage m_box;
    RoundBoxCoverage m_sharp;                   ///< of the shadow where nothing is blurred
    std::shared_ptr<const ShadowMask> m_mask;   ///< else
    std::optional<ShadowPlaces> m_shadowPlaces; ///< in the mask
    BoxEdges m_outer;                           ///< around what it draws
    std::array<BoxEdges, 2> m_clear;            ///< around pixels that it leaves as they are
    int m_clearCount = 0;
    BoxEdges m_near; ///< around pixels that the box itself may touch, if `m_hasNear`
    bool m_hasNear = false;
    bool m_isInset;
    QRgb m_pixel;
};
}
