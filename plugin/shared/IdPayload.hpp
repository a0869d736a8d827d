#pragma once

#include <Bedrock/BinaryData.hpp>

namespace Tavola
{
/// The payload of an event that carries one id and nothing else.
[[nodiscard]] inline Bedrock::BinaryData idPayload(long id)
{
    Bedrock::BinaryData data;
    data.writeInt64(id);
    return data;
}
}
