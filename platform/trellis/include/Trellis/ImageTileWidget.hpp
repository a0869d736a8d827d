#pragma once

#include <Trellis/ImageWidget.hpp>

namespace Trellis
{
/// A picture used as a ground: repeats over the widget instead of being scaled into it.
class TAVOLA_EXPORT ImageTileWidget : public ImageWidget
{
public:
    explicit ImageTileWidget(Widget* parent = nullptr);
    void renderContent(Lantern::RenderContext& context) const override;
};
}
