#include "PageWorkshop.hpp"

#include "Folder.hpp"

#include <LogCapture.hpp>
#include <doctest/doctest.h>

#include <QImage>

#include <future>
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

    static PageWorkshop::Refusals refusals()
    {
        return {Http::plainResponse(413, "too large"), Http::plainResponse(500, "failed")};
    }

    Http::Response archive(PageWorkshop& shop, const std::vector<Item>& items)
    {
        Awaited awaited;
        shop.sendArchive(items, refusals(), awaited.reply());
        return awaited.answer();
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

} // namespace

TEST_CASE_FIXTURE(PageWorkshopFixture, "page workshop: an archive has the files that are there and a list of the links")
{
    folder.write(QStringLiteral("boat.png"), "a boat");
    PageWorkshop shop(content);
    const Http::Response answer = archive(shop,
                                          {item(ItemKind::File, "boat.png"), item(ItemKind::File, "gone.png"),
                                           item(ItemKind::Url, "https://museum.example/", "The museum")});
    CHECK(answer.status == 200);
    CHECK(answer.contentType == "application/zip");
    const QByteArray bytes = bytesOf(answer.file);
    CHECK(bytes.startsWith("PK"));
    CHECK(bytes.contains("a boat"));
    CHECK(bytes.contains("The museum\nhttps://museum.example/\n"));
    CHECK_FALSE(bytes.contains("gone.png"));
}

TEST_CASE_FIXTURE(PageWorkshopFixture, "page workshop: a collection that is too large is refused before anything is packed")
{
    folder.write(QStringLiteral("one.png"), QByteArray(600, '1'));
    folder.write(QStringLiteral("two.png"), QByteArray(401, '2'));
    PageWorkshop shop(content, {1000, 0});
    CHECK(archive(shop, {item(ItemKind::File, "one.png"), item(ItemKind::File, "two.png")}).status == 413);
    CHECK(archive(shop, {item(ItemKind::File, "one.png")}).status == 200);
}

TEST_CASE_FIXTURE(PageWorkshopFixture, "page workshop: an archive leaves room on the disk, or is not made")
{
    folder.write(QStringLiteral("one.png"), "1");
    PageWorkshop shop(content, {1000, qint64(1) << 60});
    TestSupport::expectWarning("MediaServer # A collection was not packed (too little room in the temporary folder)");
    CHECK(archive(shop, {item(ItemKind::File, "one.png")}).status == 503);
}

TEST_CASE_FIXTURE(PageWorkshopFixture, "page workshop: so many archives wait and no more, until one is sent")
{
    PageWorkshop shop(content);
    // The first answer is not accepted before the others are ordered.
    std::promise<void> ordered;
    std::promise<void> begun;
    shop.sendArchive({}, refusals(), Http::Reply([&](Http::Response&&) {
                         begun.set_value();
                         ordered.get_future().wait();
                     }));
    begun.get_future().wait();
    std::vector<Awaited> waiting(PageWorkshop::kMostWaitingArchives - 1);
    for (Awaited& each : waiting)
        shop.sendArchive({}, refusals(), each.reply());
    CHECK(archive(shop, {}).status == 503);
    ordered.set_value();
    for (Awaited& each : waiting)
        CHECK(each.answer().status == 200);
    // The last answer is sent just before its turn ends, so the first of these may still be one too many.
    int sent = 0;
    for (int i = 0; i < 2 * PageWorkshop::kMostWaitingArchives; ++i)
        sent += archive(shop, {}).status == 200 ? 1 : 0;
    CHECK(sent > PageWorkshop::kMostWaitingArchives);
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
