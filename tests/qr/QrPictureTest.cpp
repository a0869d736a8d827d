#include <Qr/QrPicture.hpp>

#include <doctest/doctest.h>

TEST_CASE("QR picture: dark modules of eight pixels on white, with a quiet zone of four modules")
{
    const QImage picture = Qr::picture("https://example.org/");
    REQUIRE_FALSE(picture.isNull());
    CHECK(picture.width() == picture.height());
    CHECK(picture.width() % 8 == 0);
    const int modules = picture.width() / 8 - 8;
    CHECK((modules - 17) % 4 == 0); // the sizes that the symbols have
    for (int i = 0; i < picture.width(); ++i)
        for (const int edge : {0, 31, picture.width() - 32, picture.width() - 1}) {
            CHECK(picture.pixelColor(i, edge) == QColor(Qt::white));
            CHECK(picture.pixelColor(edge, i) == QColor(Qt::white));
        }
    // The finder in three corners: a dark ring round a light one round a dark square.
    for (const QPoint& corner : {QPoint(4, 4), QPoint(modules - 3, 4), QPoint(4, modules - 3)})
        for (int y = 0; y < 7; ++y)
            for (int x = 0; x < 7; ++x) {
                const int ring = std::max(std::abs(x - 3), std::abs(y - 3));
                const QPoint middle((corner.x() + x) * 8 + 4, (corner.y() + y) * 8 + 4);
                CHECK(picture.pixelColor(middle) == QColor(ring == 2 ? Qt::white : Qt::black));
            }
}

TEST_CASE("QR picture: a text that is empty or too long has none")
{
    CHECK(Qr::picture(QByteArray()).isNull());
    CHECK(Qr::picture(QByteArray(3000, 'x')).isNull());
    CHECK_FALSE(Qr::picture(QByteArray(2000, 'x')).isNull());
}
