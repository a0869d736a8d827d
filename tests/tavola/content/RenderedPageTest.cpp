#include "content/RenderedPage.hpp"

#include <doctest/doctest.h>

#include <QColor>

using Tavola::RenderedPage;

namespace
{
RenderedPage some()
{
    RenderedPage page;
    page.image = QImage(3, 2, QImage::Format_ARGB32_Premultiplied);
    page.image.fill(Qt::red);
    page.image.setPixelColor(2, 1, Qt::blue);
    page.pageSize = QSizeF(200.0, 100.5);
    page.page = 4;
    page.pageCount = 9;
    return page;
}
}

TEST_CASE("rendered page: comes out of its bytes as it went in")
{
    RenderedPage read;
    REQUIRE(read.readBytes(some().toBytes()));
    CHECK(read.image == some().image);
    CHECK(read.pageSize == QSizeF(200.0, 100.5));
    CHECK(read.page == 4);
    CHECK(read.pageCount == 9);
    CHECK(read.error.isEmpty());
    CHECK(read.remark.isEmpty());

    RenderedPage lacking = some();
    lacking.remark = QStringLiteral("without a picture");
    REQUIRE(read.readBytes(lacking.toBytes()));
    CHECK(read.remark == lacking.remark);
    CHECK(read.error.isEmpty());

    RenderedPage none;
    none.error = QStringLiteral("späť");
    REQUIRE(read.readBytes(none.toBytes()));
    CHECK(read.image.isNull());
    CHECK(read.error == none.error);
}

TEST_CASE("rendered page: bytes that are cut off, or more, or announce another size, are none")
{
    const QByteArray whole = some().toBytes();
    RenderedPage read;
    for (int size = 0; size < whole.size(); ++size) {
        CAPTURE(size);
        CHECK_FALSE(read.readBytes(whole.left(size)));
    }
    CHECK_FALSE(read.readBytes(whole + 'x'));
    RenderedPage wide;
    wide.image = QImage(RenderedPage::kMostPixels + 1, 1, QImage::Format_ARGB32_Premultiplied);
    wide.image.fill(0);
    CHECK_FALSE(read.readBytes(wide.toBytes()));
    CHECK(read.pageCount == 0);
}
