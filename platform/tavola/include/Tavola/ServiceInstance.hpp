#pragma once

#include <Bedrock/Export.hpp>

namespace Tavola
{
/// A configured connection to the outside; a dynamic cast gives the interface that it implements, such as EmailServiceAPI.
class TAVOLA_EXPORT ServiceInstance
{
public:
    virtual ~ServiceInstance();
};
}
