#include "Pictures.hpp"

#include <QColor>
#include <QDir>

#include <algorithm>
#include <cstdlib>

namespace TestSupport
{
namespace
{
QString& currentTest()
{
    static QString name;
    return name;
}

int pixelDifference(const QColor& p, const QColor& q)
{
    return std::max({std::abs(p.red() - q.red()), std::abs(p.green() - q.green()), std::abs(p.blue() - q.blue())});
}

/// Grey where the pictures are alike, red where they differ by more than `tolerance`.
QImage differencePicture(const QImage& actual, const QImage& expected, int tolerance)
{
    QImage picture(actual.size().expandedTo(expected.size()), QImage::Format_RGB32);
    picture.fill(Qt::red);
    const QRect both = actual.rect() & expected.rect();
    for (int y = both.top(); y <= both.bottom(); ++y)
        for (int x = both.left(); x <= both.right(); ++x) {
            const QColor pixel = expected.pixelColor(x, y);
            const int grey = qGray(pixel.rgb()) / 4;
            if (pixelDifference(actual.pixelColor(x, y), pixel) <= tolerance)
                picture.setPixelColor(x, y, QColor(grey, grey, grey));
        }
    return picture;
}

/// The first free name for a set of files of the running test.
QString freeName(const QDir& folder)
{
    QString stem;
    for (const QChar c : currentTest())
        stem += c.isLetterOrNumber() ? c : QLatin1Char('-');
    int number = 1;
    const auto name = [&] { return QStringLiteral("%1-%2").arg(stem.left(100)).arg(number); };
    while (folder.exists(name() + QStringLiteral("-actual.png")))
        ++number;
    return folder.filePath(name());
}
}

int difference(const QImage& a, const QImage& b)
{
    if (a.size() != b.size())
        return 256;
    int largest = 0;
    for (int y = 0; y < a.height(); ++y)
        for (int x = 0; x < a.width(); ++x)
            largest = std::max(largest, pixelDifference(a.pixelColor(x, y), b.pixelColor(x, y)));
    return largest;
}

QRect litBounds(const QImage& image)
{
    QRect bounds;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            if (image.pixelColor(x, y) != QColor(Qt::black))
                bounds |= QRect(x, y, 1, 1);
    return bounds;
}

std::string pictureComplaint(const QImage& actual, const QImage& expected, int tolerance)
{
    const int found = difference(actual, expected);
    if (found <= tolerance)
        return {};
    const QDir folder(pictureFolder());
    folder.mkpath(QStringLiteral("."));
    const QString name = freeName(folder);
    const bool saved = actual.save(name + QStringLiteral("-actual.png")) && expected.save(name + QStringLiteral("-expected.png"))
        && differencePicture(actual, expected, tolerance).save(name + QStringLiteral("-difference.png"));
    return (saved ? QStringLiteral("the pictures differ by %1, at most %2 is allowed: see %3-{actual,expected,difference}.png")
                  : QStringLiteral("the pictures differ by %1, at most %2 is allowed, and cannot be saved as %3-*.png"))
        .arg(found)
        .arg(tolerance)
        .arg(name)
        .toStdString();
}

QString pictureFolder()
{
    const QString wanted = qEnvironmentVariable("TAVOLA_TEST_PICTURES");
    return wanted.isEmpty() ? QDir::temp().filePath(QStringLiteral("tavola-test-pictures")) : wanted;
}

void setCurrentTest(const char* name)
{
    currentTest() = QString::fromUtf8(name);
}
}
