#include <Tavola/MarkerReceiver.hpp>

namespace Tavola
{
MarkerReceiver::~MarkerReceiver() = default;
}
