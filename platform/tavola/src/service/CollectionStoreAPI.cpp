#include <Tavola/CollectionStoreAPI.hpp>

namespace Tavola
{
CollectionStoreAPI::~CollectionStoreAPI() = default;
}
