#pragma once

#include <QString>

namespace MediaServer
{

/// Log lines of the form "MediaServer # what (detail)". Never pass a page's token: a reader of the log must not be able to open
/// people's pages. Any thread.
void logInfo(const QString& what, const QString& detail = {});

/// As logInfo, for what an operator has to act upon.
void logWarning(const QString& what, const QString& detail = {});

}
