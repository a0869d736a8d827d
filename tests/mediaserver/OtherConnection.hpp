#pragma once

#include <QString>
#include <QVariant>

/// Runs one statement on a connection of its own, as another program would; the first value of its first row.
QVariant executeBeside(const QString& file, const QString& statement);
