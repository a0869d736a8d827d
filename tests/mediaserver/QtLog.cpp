#include <Bedrock/QtMessages.hpp>

/// Qt's own warnings go the way of every other log, as in the program: an unannounced one fails the test.
namespace
{
const Bedrock::QtMessages qtMessages;
}
