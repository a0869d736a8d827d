#pragma once

#include <QString>

namespace Host
{
/// Where a presentation's own data lives: in `given`, or, when that is empty, in a folder of the user's that is named like the
/// presentation's folder for people to find it, and by its path so that two never share one. Absolute.
[[nodiscard]] QString dataFolder(const QString& presentationFolder, const QString& given);

/// The folder in `data` of the e-mail service of that name.
[[nodiscard]] QString outboxFolder(const QString& data, const QString& serviceName);
}
