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

/// An empty page behind a random password: standard handler, 40 bits.
inline QByteArray locked()
{
    QByteArray pdf = "%PDF-1.4\n";
    std::vector<int> places;
    const char* const objects[] = {
        "<< /Type /Catalog /Pages 2 0 R >>",
        "<< /Type /Pages /Kids [3 0 R] /Count 1 >>",
        "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 200 100] >>",
        "<< /Filter /Standard /V 1 /R 2 /P -4 /O <1111111111111111111111111111111111111111111111111111111111111111>"
        " /U <2222222222222222222222222222222222222222222222222222222222222222> >>",
    };
    int number = 0;
    for (const char* object : objects) {
        places.push_back(pdf.size());
        pdf += QByteArray::number(++number) + " 0 obj\n" + object + "\nendobj\n";
    }
    const int table = pdf.size();
    pdf += "xref\n0 5\n0000000000 65535 f \n";
    for (const int place : places)
        pdf += QByteArray::number(place).rightJustified(10, '0') + " 00000 n \n";
    return pdf + "trailer\n<< /Size 5 /Root 1 0 R /Encrypt 4 0 R /ID [<33> <33>] >>\nstartxref\n" + QByteArray::number(table)
        + "\n%%EOF\n";
}
}
