#pragma once

#include <QString>

namespace MediaServer {

/// Log lines of the form "MediaServer # what (detail)", written through Qt's message handler (the program sends it to
/// standard error). Never pass a page's token: who reads the log must not be able to open people's pages. Any thread.
void logInfo(const QString& what, const QString& detail = {});

/// As logInfo, for what somebody has to act upon.
void logWarning(const QString& what, const QString& detail = {});

} // namespace MediaServer
