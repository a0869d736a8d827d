#pragma once

#include <QString>

namespace Host
{
/// Renames a SQLite file that was imported, so that it is not imported again and no table mentions it: "people.sqlite" becomes
/// "people-imported.sqlite". The new name; empty, and nothing is changed, when that is not possible.
[[nodiscard]] QString setAside(const QString& file);
}
