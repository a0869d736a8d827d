#include <Tavola/MarkerTaker.hpp>

namespace Tavola
{
MarkerTaker::~MarkerTaker() = default;
}
