#pragma once

#include <Http/Message.hpp>

namespace MediaServer
{

/// The answer at the tables' door: a JSON object (see JsonText), which no cache keeps.
[[nodiscard]] Http::Response jsonResponse(int status, const QByteArray& json);

}
