#include <Tavola/JSONServerServiceAPI.hpp>

#include <QJsonObject>

namespace Tavola
{
JSONServerServiceAPI::~JSONServerServiceAPI() = default;
}
