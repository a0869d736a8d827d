#pragma once

#include <QByteArray>
#include <QFile>
#include <QPageSize>
#include <QPainter>
#include <QPdfWriter>
#include <QString>

#include <doctest/doctest.h>

#include <utility>
#include <vector>

/// Writes PDF files for tests.
namespace PdfFile
{
/// One page per colour, filled with it.
inline void write(const QString& path, const std::vector<QColor>& pages, QSizeF points = {200.0, 100.0})
{
    QPdfWriter writer(path);
    writer.setPageSize(QPageSize(points, QPageSize::Point, QString(), QPageSize::ExactMatch));
    writer.setPageMargins(QMarginsF());
    QPainter painter(&writer);
    bool isFirst = true;
    for (const QColor& color : pages) {
        if (!std::exchange(isFirst, false))
            writer.newPage();
        painter.fillRect(QRect(0, 0, writer.width(), writer.height()), color);
    }
    painter.end();
}

inline void writeBytes(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    REQUIRE(file.open(QIODevice::WriteOnly));
    REQUIRE(file.write(bytes) == bytes.size());
}

/// A document of these objects, which are numbered from 1 on; the first one is its catalogue.
inline QByteArray of(const std::vector<QByteArray>& objects, const QByteArray& trailer = {})
{
    QByteArray pdf = "%PDF-1.5\n";
    QByteArray places;
    int number = 0;
    for (const QByteArray& object : objects) {
        places += QByteArray::number(pdf.size()).rightJustified(10, '0') + " 00000 n \n";
        pdf += QByteArray::number(++number) + " 0 obj\n" + object + "\nendobj\n";
    }
    const QByteArray size = QByteArray::number(number + 1);
    const QByteArray table = QByteArray::number(pdf.size());
    return pdf + "xref\n0 " + size + "\n0000000000 65535 f \n" + places + "trailer\n<< /Size " + size + " /Root 1 0 R " + trailer
        + " >>\nstartxref\n" + table + "\n%%EOF\n";
}

/// An empty page behind a random password: standard handler, 40 bits.
inline QByteArray locked()
{
    return of({"<< /Type /Catalog /Pages 2 0 R >>", "<< /Type /Pages /Kids [3 0 R] /Count 1 >>",
               "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 200 100] >>",
               "<< /Filter /Standard /V 1 /R 2 /P -4 /O <1111111111111111111111111111111111111111111111111111111111111111>"
               " /U <2222222222222222222222222222222222222222222222222222222222222222> >>"},
              "/Encrypt 4 0 R /ID [<33> <33>]");
}

/// A file that cannot be shown.
struct Unusable
{
    const char* name;
    QByteArray bytes; ///< null: there is no such file
    const char* why;
};

/// One of each kind.
inline std::vector<Unusable> unusable()
{
    return {{"none.pdf", {}, "No such file or directory"},
            {"text.pdf", "this is no PDF", "it is no PDF file, or is damaged"},
            {"blank.pdf", " ", "it is no PDF file, or is damaged"},
            {"cut.pdf", "%PDF-1.4\n", "it is no PDF file, or is damaged"},
            {"locked.pdf", locked(), "it is protected by a password"}};
}

/// Writes the file into the folder, if there is one; returns its path.
inline QString write(const Unusable& file, const QString& folder)
{
    const QString path = folder + QLatin1Char('/') + QLatin1String(file.name);
    if (!file.bytes.isNull())
        writeBytes(path, file.bytes);
    return path;
}
}
