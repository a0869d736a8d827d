#include <Tavola/TesselServiceAPI.hpp>

#include <Trellis/Widget.hpp>

namespace Tavola
{
TesselServiceAPI::~TesselServiceAPI() = default;
}
