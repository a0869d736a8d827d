#pragma once

#include <QByteArray>
#include <QString>

namespace Tavola
{
/// What a plug-in's file says of the libraries that it was linked with: one line "FILE BUILD-ID" for each, which
/// `cmake/stamp-plugin` writes. A line ends with " host" for a library that the host has to bring, because it is not in the list
/// that the system's loader reads. Empty for a file without a stamp, or that cannot be read. Any thread; blocks.
[[nodiscard]] QByteArray pluginStamp(const QString& path);

/// The libraries of a stamp against those in this program.
struct StampCheck
{
    /// All are here in the very builds, so that none of their functions can be missing. False for an empty stamp.
    bool isSame = false;
    /// The first one that the host has to bring and does not; empty for none.
    QString missing;
};

/// Any thread.
[[nodiscard]] StampCheck checkStamp(const QByteArray& stamp);
}
