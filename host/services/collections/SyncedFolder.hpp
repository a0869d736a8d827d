#pragma once

#include <QByteArray>
#include <QString>

namespace Host
{
/// A folder in which files are written so that a power cut loses nothing: what a call has done is on the disk when it returns
/// true. Each call waits for the disk. Any thread, but one at a time for each file. Calls that fail give the reason in `error`.
class SyncedFolder
{
public:
    /// `folder`: absolute.
    explicit SyncedFolder(const QString& folder) : m_folder(folder) {}

    /// Makes the folder and those above it, and has them all on the disk.
    [[nodiscard]] bool prepare(QString& error) const;
    [[nodiscard]] QString path(const QString& name) const;
    [[nodiscard]] const QString& folder() const noexcept { return m_folder; }

    /// Writes a file, in place of one that has the name: that one or this one is there whatever happens.
    [[nodiscard]] bool write(const QString& name, const QByteArray& bytes, QString& error) const;
    /// Writes at the end of a file, which is made when it is missing, and the folder with it. On failure the file is as before.
    [[nodiscard]] bool append(const QString& name, const QByteArray& bytes, QString& error) const;
    /// Empties a file; one that is missing is empty.
    [[nodiscard]] bool clear(const QString& name, QString& error) const;
    /// Whether the entries of the folder are on the disk now.
    [[nodiscard]] bool syncEntries() const;

private:
    const QString m_folder;
};
}
