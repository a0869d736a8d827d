#include "Log.hpp"

/// Qt's own warnings go the way of every other log, as in the program: an unannounced one fails the test.
namespace
{
const auto formerHandler = qInstallMessageHandler(MediaServer::logQtMessage);
}
