#pragma once

#include <Trellis/TextInterfaceWidget.hpp>

namespace Trellis
{
/// A text to be read.
class TAVOLA_EXPORT TextWidget : public TextInterfaceWidget
{
public:
    explicit TextWidget(Widget* parent = nullptr);
};
}
