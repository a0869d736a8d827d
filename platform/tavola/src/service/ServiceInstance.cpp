#include <Tavola/ServiceInstance.hpp>

namespace Tavola
{
ServiceInstance::~ServiceInstance() = default;
}
