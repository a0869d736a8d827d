#pragma once

#include <doctest/doctest.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

/// A folder of a test's own, removed with everything in it at the end.
class Folder
{
public:
    [[nodiscard]] QString path(const QString& name = QString()) const
    {
        return name.isEmpty() ? m_folder.path() : m_folder.filePath(name);
    }
    /// Writes a file, and the folders above it; returns its path.
    QString write(const QString& name, const QByteArray& bytes) const
    {
        QDir().mkpath(QFileInfo(path(name)).path());
        QFile file(path(name));
        REQUIRE(file.open(QIODevice::WriteOnly));
        REQUIRE(file.write(bytes) == bytes.size());
        return path(name);
    }

private:
    QTemporaryDir m_folder;
};
