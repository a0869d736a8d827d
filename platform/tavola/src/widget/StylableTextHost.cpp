#include <Tavola/StylableTextHost.hpp>

#include <Trellis/Widget.hpp>

namespace Tavola
{
StylableTextHost::~StylableTextHost() = default;
}
