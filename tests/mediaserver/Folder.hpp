#pragma once

#include <QByteArray>
#include <QString>
#include <QTemporaryDir>

/// A folder that goes away with the test.
class Folder
{
public:
    [[nodiscard]] QString path() const { return m_folder.path(); }
    [[nodiscard]] QString path(const QString& name) const { return m_folder.filePath(name); }
    /// Writes a file; fails the test when that is not possible.
    void write(const QString& name, const QByteArray& bytes) const;
    void makeFolder(const QString& name) const;

private:
    QTemporaryDir m_folder;
};
