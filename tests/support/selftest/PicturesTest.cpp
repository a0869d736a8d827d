#include "Pictures.hpp"

#include <doctest/doctest.h>

#include <QDir>
#include <QTemporaryDir>

using namespace TestSupport;

namespace
{
QImage filled(QSize size, QColor color)
{
    QImage image(size, QImage::Format_RGB32);
    image.fill(color);
    return image;
}

/// The pictures of this test go to a folder of its own.
struct Folder
{
    Folder() { qputenv("TAVOLA_TEST_PICTURES", folder.path().toUtf8()); }
    ~Folder() { qunsetenv("TAVOLA_TEST_PICTURES"); }
    QStringList files() const { return QDir(folder.path()).entryList(QDir::Files, QDir::Name); }
    QImage picture(const QString& suffix) const
    {
        const QStringList found = QDir(folder.path()).entryList({QStringLiteral("*") + suffix}, QDir::Files);
        REQUIRE(found.size() == 1);
        return QImage(folder.filePath(found.first()));
    }
    QTemporaryDir folder;
};
}

TEST_CASE("pictures: alike ones are no complaint, and leave nothing behind")
{
    const Folder folder;
    CHECK(pictureComplaint(filled({4, 4}, Qt::red), filled({4, 4}, QColor(250, 0, 0)), 5).empty());
    CHECK(folder.files().isEmpty());
}

TEST_CASE("pictures: different ones leave what was drawn, what was expected, and where they differ")
{
    const Folder folder;
    QImage actual = filled({4, 4}, Qt::blue);
    actual.setPixelColor(1, 2, Qt::green);
    CHECK_FALSE(pictureComplaint(actual, filled({4, 4}, Qt::blue), 0).empty());
    REQUIRE(folder.files().size() == 3);
    CHECK(folder.files().first().startsWith(QStringLiteral("pictures--different-ones-leave")));
    CHECK(difference(folder.picture(QStringLiteral("-actual.png")), actual) == 0);
    CHECK(difference(folder.picture(QStringLiteral("-expected.png")), filled({4, 4}, Qt::blue)) == 0);
    const QImage where = folder.picture(QStringLiteral("-difference.png"));
    CHECK(where.pixelColor(1, 2) == QColor(Qt::red));
    CHECK(where.pixelColor(2, 2) != QColor(Qt::red));
    // A second failure of the same test does not write over the first.
    CHECK_FALSE(pictureComplaint(actual, filled({4, 4}, Qt::white), 0).empty());
    CHECK(folder.files().size() == 6);
}

TEST_CASE("pictures: those of different sizes differ beyond every tolerance")
{
    const Folder folder;
    CHECK(difference(filled({4, 4}, Qt::blue), filled({4, 5}, Qt::blue)) == 256);
    CHECK_FALSE(pictureComplaint(filled({4, 4}, Qt::blue), filled({4, 5}, Qt::blue), 255).empty());
    CHECK(folder.picture(QStringLiteral("-difference.png")).pixelColor(0, 4) == QColor(Qt::red));
}
