#include <Tavola/EmailServiceAPI.hpp>

namespace Tavola
{
EmailServiceAPI::~EmailServiceAPI() = default;
}
