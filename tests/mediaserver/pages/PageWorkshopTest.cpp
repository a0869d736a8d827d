#include "pages/PageWorkshop.hpp"

#include "Folder.hpp"

#include <LogCapture.hpp>
#include <doctest/doctest.h>

#include <QImage>

#include <future>
#include <optional>
#include <sys/stat.h>
#include <unistd.h>

using namespace MediaServer;

namespace
{

/// An answer that comes from another thread.
class Awaited
{
public:
    Http::Reply reply()
    {
        return Http::Reply([promise = m_promise](Http::Response&& response) { promise->set_value(std::move(response)); });
    }
    Http::Response answer() { return m_promise->get_future().get(); }

private:
    std::shared_ptr<std::promise<Http::Response>> m_promise = std::make_shared<std::promise<Http::Response>>();
};

struct PageWorkshopFixture
{
    static Item item(ItemKind kind, const char* value, const char* name = "")
    {
        Item result;
        result.kind = kind;
        result.value = QString::fromUtf8(value);
        result.displayName = QString::fromUtf8(name);
        return result;
    }

    static Http::Response archive(const PageWorkshop& shop, const std::vector<Item>& items)
    {
        return shop.archive(items, Http::plainResponse(413, "too large"));
    }

    static QByteArray bytesOf(const Http::File& file)
    {
        QByteArray bytes(1'000'000, '\0');
        const ssize_t got = ::pread(file.descriptor(), bytes.data(), std::size_t(bytes.size()), 0);
        REQUIRE(got >= 0);
        return bytes.left(int(got));
    }

    Folder folder;
    ContentFolder content{folder.path()};
};

}

TEST_CASE_FIXTURE(PageWorkshopFixture, "page workshop: an archive has the files that are there and a list of the links")
{
    folder.write(QStringLiteral("boat.png"), "a boat");
    PageWorkshop shop(content);
    const Http::Response answer = archive(shop,
                                          {item(ItemKind::File, "boat.png"), item(ItemKind::File, "gone.png"),
                                           item(ItemKind::Url, "https://museum.example/", "The museum")});
    CHECK(answer.status == 200);
    CHECK(answer.contentType == "application/zip");
    QByteArray bytes;
    for (auto piece = answer.pieces(); piece && !piece->isEmpty(); piece = answer.pieces())
        bytes += *piece;
    CHECK(bytes.startsWith("PK"));
    CHECK(bytes.contains("a boat"));
    CHECK(bytes.contains("The museum\nhttps://museum.example/\n"));
    CHECK_FALSE(bytes.contains("gone.png"));
}

TEST_CASE_FIXTURE(PageWorkshopFixture, "page workshop: a collection that is too large is refused before anything is packed")
{
    folder.write(QStringLiteral("one.png"), QByteArray(600, '1'));
    folder.write(QStringLiteral("two.png"), QByteArray(401, '2'));
    const PageWorkshop shop(content, 1000);
    CHECK(archive(shop, {item(ItemKind::File, "one.png"), item(ItemKind::File, "two.png")}).status == 413);
    CHECK(archive(shop, {item(ItemKind::File, "one.png")}).status == 200);
}

TEST_CASE_FIXTURE(PageWorkshopFixture, "page workshop: an archive that fails in the middle is logged, and its body ends there")
{
    folder.write(QStringLiteral("boat.png"), QByteArray(100'000, 'b'));
    const PageWorkshop shop(content);
    const Http::Response answer = archive(shop, {item(ItemKind::File, "boat.png")});
    REQUIRE(answer.pieces());
    TestSupport::expectWarningStartingWith("MediaServer # A collection could not be packed (");
    folder.write(QStringLiteral("boat.png"), "short");
    std::optional<QByteArray> piece = answer.pieces();
    while (piece && !piece->isEmpty())
        piece = answer.pieces();
    CHECK_FALSE(piece);
}

TEST_CASE_FIXTURE(PageWorkshopFixture, "page workshop: a large picture is sent small, and what cannot be made small as it is")
{
    QImage image(1500, 900, QImage::Format_RGB32);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            image.setPixel(x, y, qRgb(x * y % 256, x * 7 % 256, y * 13 % 256));
    }
    REQUIRE(image.save(folder.path(QStringLiteral("large.png"))));
    folder.write(QStringLiteral("broken.png"), "no picture");
    PageWorkshop shop(content);
    const auto thumbnail = [&](const char* name) {
        Http::Response whole;
        whole.contentType = "image/png";
        whole.file = std::move(*content.open(QString::fromUtf8(name)));
        Awaited awaited;
        shop.sendThumbnail(std::move(whole), awaited.reply());
        return awaited.answer();
    };
    const Http::Response small = thumbnail("large.png");
    CHECK(small.contentType == "image/jpeg");
    CHECK_FALSE(small.file.isOpen());
    CHECK(QImage::fromData(small.body).size() == QSize(720, 432));
    const Http::Response whole = thumbnail("broken.png");
    CHECK(whole.contentType == "image/png");
    CHECK(bytesOf(whole.file) == "no picture");
}
