#include "Bedrock/Task.hpp"

namespace Bedrock
{
Task::~Task() = default;
}
