#pragma once

#include <Bedrock/Export.hpp>

namespace Tavola
{
/// A configured connection to something outside; what it can do is found by a dynamic cast to the interface wanted.
class TAVOLA_EXPORT ServiceInstance
{
public:
    virtual ~ServiceInstance();
};
}
