#pragma once

#include "Scene.hpp"

#include <QFile>
#include <QFont>
#include <QRawFont>
#include <QTemporaryDir>
#include <QtEndian>

namespace TrellisTest
{
/// The bytes of an installed font, put together of its tables.
inline QByteArray fontBytes(const char* family = "Inter")
{
    const QRawFont font = QRawFont::fromFont(QFont(QString::fromLatin1(family), 20));
    QList<QByteArray> tags, tables;
    for (const char* tag : {"CFF ", "GPOS", "GSUB", "OS/2", "cmap", "cvt ", "fpgm", "glyf", "head", "hhea", "hmtx", "loca",
                            "maxp", "name", "post", "prep"}) {
        const QByteArray table = font.fontTable(tag);
        if (table.isEmpty())
            continue;
        tags << QByteArray(tag);
        tables << table;
    }
    REQUIRE(tags.size() > 6);
    QByteArray result, contents;
    const auto number = [&result](auto value) {
        char bytes[sizeof(value)];
        qToBigEndian(value, bytes);
        result.append(bytes, int(sizeof(value)));
    };
    number(tags.contains("CFF ") ? quint32(0x4f54544f) : quint32(0x00010000));
    for (const int value : {int(tags.size()), 0, 0, 0})
        number(quint16(value));
    for (int i = 0; i < tags.size(); ++i) {
        result += tags[i];
        number(quint32(0));
        number(quint32(12 + 16 * tags.size() + contents.size()));
        number(quint32(tables[i].size()));
        contents += tables[i];
        contents += QByteArray((4 - contents.size() % 4) % 4, '\0');
    }
    return result + contents;
}

/// A scene with fonts of its own in a folder.
struct FontScene : Scene
{
    FontScene() : Scene(Vecta::Vector2f{400.f, 100.f}) {}
    QTemporaryDir folder;

    QString save(const char* name, const QByteArray& bytes)
    {
        QFile file(folder.filePath(QString::fromLatin1(name)));
        REQUIRE(file.open(QIODevice::WriteOnly));
        REQUIRE(file.write(bytes) == bytes.size());
        return file.fileName();
    }
    void sheet(const QString& text)
    {
        Cascara::StyleEngine::instance().addStyleSheet(text, QStringLiteral("test.css"), folder.path());
    }
};
}
