#pragma once

#include "PixelSource.hpp"

#include <QRect>

#include <memory>
#include <vector>

class QImage;

namespace Lantern
{
/// Drawings that wait to be put together, from the bottom to the top. Together, as what is hidden by something above is then
/// not drawn, and large areas are shared among the painting threads. The pixels are the same whatever the area, the threads
/// and what is drawn at once. Main thread only.
class Composition
{
public:
    template <class Source>
    void add(Source source)
    {
        if (!source.area().isEmpty())
            m_sources.push_back(std::make_unique<Source>(std::move(source)));
    }
    [[nodiscard]] bool isEmpty() const noexcept { return m_sources.empty(); }
    /// Draws what was added inside `areas`, which do not overlap, and forgets it. `target`: 32 bits a pixel, premultiplied or
    /// without alpha; may have an active painter.
    void drawInto(QImage& target, const std::vector<QRect>& areas);

private:
    std::vector<std::unique_ptr<PixelSource>> m_sources;
};
}
