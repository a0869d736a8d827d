#pragma once

#include <QByteArray>
#include <QString>

namespace Tavola
{
/// What a plug-in's file says of the libraries that it was linked with: one line "FILE BUILD-ID" each, as `cmake/stamp-plugin`
/// writes them. Empty for a file without such a note, or that is no plug-in.
[[nodiscard]] QByteArray pluginStamp(const QString& file);

/// Whether each library in the stamp is in this process, and is the very build that the plug-in was linked with. Then no function
/// that the plug-in calls can be missing, because its linker has found them all in these libraries. False for an empty stamp.
[[nodiscard]] bool isLinkedWithThisProgram(const QByteArray& stamp);
}
