#pragma once

#include <Bedrock/Export.hpp>

#include <QSize>

#include <functional>

class QRegion;

namespace Lantern
{
class RenderContext;

/// Something to draw the table on, which keeps what was drawn. Main thread only. Coordinates are the table's pixels from
/// the top left corner.
class TAVOLA_EXPORT PaintTarget
{
public:
    virtual ~PaintTarget();

    [[nodiscard]] virtual QSize size() const = 0;
    /// Clears `damage` to the ground colour and draws it anew by `draw`, which is called at most once, inside this call,
    /// and not at all when there is nothing to draw on or nothing to draw.
    virtual void paint(const QRegion& damage, const std::function<void(RenderContext&)>& draw) = 0;
};
}
