#pragma once

#include <Bedrock/Export.hpp>
#include <Bedrock/IntrusivePtr.hpp>

#include <vector>

namespace Trellis
{
class Widget;
}

namespace Tavola
{
/// A composite widget whose text widgets the host styles. One that gains a text widget later sends the event
/// "stylable-widget-added" with the widget's node id (64-bit).
class TAVOLA_EXPORT StylableTextHost
{
public:
    virtual ~StylableTextHost();
    [[nodiscard]] virtual std::vector<Bedrock::IntrusivePtr<Trellis::Widget>> stylableWidgets() const = 0;
};
}
