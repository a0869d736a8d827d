#pragma once

#include <Bedrock/Export.hpp>

namespace Tactile
{
class Marker;
}

namespace Tavola
{
/// A widget class that does something with a card it is given derives from this beside Trellis::Widget.
class TAVOLA_EXPORT MarkerReceiver
{
public:
    virtual ~MarkerReceiver();
    /// The card that opened the widget lies on the table. Main thread.
    virtual void receiveMarker(const Tactile::Marker& marker) = 0;
};
}
