#include <Tavola/DropListener.hpp>

namespace Tavola
{
DropListener::~DropListener() = default;
}
