#pragma once

#include <QString>
#include <QStringList>

namespace Host
{
/// The folder in which an outbox keeps finished messages, one file each. Only names that `newName` gives are ever removed, and
/// never through a symbolic link: other files in the folder are left alone. Any thread; nothing is shared.
class OutboxFiles
{
public:
    explicit OutboxFiles(const QString& root) : m_root(root) {}

    /// A file name that was never used: "0b5c….eml".
    [[nodiscard]] static QString newName();
    [[nodiscard]] QString path(const QString& name) const { return m_root + QLatin1Char('/') + name; }
    /// Removes a finished message. A folder of numbered files, as version 1 of the outbox had for each message, goes as well.
    void remove(const QString& name) const;
    /// Removes what belongs to no message.
    void removeAllBut(const QStringList& names) const;

private:
    QString m_root;
};
}
