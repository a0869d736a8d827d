#pragma once

#include <QString>

namespace Host
{
/// The folder with a presentation's own data, absolute: `given`, or, when that is empty, one in the user's data folder. Its name
/// is that of the presentation's folder, which makes it easy to find, with a hash of the path, which keeps two presentations
/// apart.
[[nodiscard]] QString dataFolder(const QString& presentationFolder, const QString& given);

/// The folder in `data` for the outbox of the e-mail service of that name.
[[nodiscard]] QString outboxFolder(const QString& data, const QString& serviceName);

/// The file in `data` that keeps what cards have collected.
[[nodiscard]] QString collectionsFile(const QString& data);

/// The file in `data` that keeps what the media server of that name has still to be sent.
[[nodiscard]] QString contentQueueFile(const QString& data, const QString& serviceName);
}
