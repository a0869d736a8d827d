#pragma once

#include <Http/Message.hpp>

class QJsonObject;

namespace MediaServer
{

/// The answer at the tables' door: a JSON object that no cache keeps.
[[nodiscard]] Http::Response jsonResponse(int status, const QJsonObject& object);

} // namespace MediaServer
