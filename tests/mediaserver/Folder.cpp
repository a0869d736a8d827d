#include "Folder.hpp"

#include <QDir>
#include <QFile>

#include <doctest/doctest.h>

void Folder::write(const QString& name, const QByteArray& bytes) const
{
    QFile file(path(name));
    REQUIRE(file.open(QIODevice::WriteOnly));
    REQUIRE(file.write(bytes) == bytes.size());
}

void Folder::makeFolder(const QString& name) const
{
    REQUIRE(QDir(path()).mkdir(name));
}
