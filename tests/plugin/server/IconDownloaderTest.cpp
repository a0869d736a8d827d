#include "server/IconDownloader.hpp"

#include "EventLoop.hpp"
#include "ImageServer.hpp"
#include "TemporaryFolder.hpp"

#include <Bedrock/AfterUpdateQueue.hpp>
#include <Bedrock/Inbox.hpp>

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QPointer>

#include <doctest/doctest.h>

#include <functional>
#include <stdexcept>

using PluginTest::ImageServer;
using PluginTest::TemporaryFolder;
using Tavola::IconDownloader;

namespace
{
/// Serves events and takes in results, as frames do.
bool deliverUntil(const std::function<bool()>& condition)
{
    return TestSupport::pumpUntil([&] {
        (void)Bedrock::Inbox::instance().deliver();
        return condition();
    });
}

template <class Exception>
std::string failureOf(folly::Future<QString>& future)
{
    REQUIRE(future.isReady());
    try {
        (void)std::move(future).get();
    } catch (const Exception& error) {
        return error.what();
    }
    return "no failure";
}

/// Counts the answers that the downloader has dealt with: it was connected to the manager first.
class FinishedCounter
{
public:
    explicit FinishedCounter(const IconDownloader& downloader)
    {
        auto* manager = downloader.findChild<QNetworkAccessManager*>();
        REQUIRE(manager);
        QObject::connect(manager, &QNetworkAccessManager::finished, manager, [count = m_count] { ++*count; });
    }
    [[nodiscard]] int count() const { return *m_count; }

private:
    std::shared_ptr<int> m_count = std::make_shared<int>(0);
};

QString pathIn(const TemporaryFolder& folder, const char* name)
{
    return folder.path() + QLatin1String("/tavola-user-page-icons/") + QLatin1String(name);
}
}

TEST_CASE("icon path: the digest of the whole address and the suffix of its file name")
{
    const TemporaryFolder folder;
    const auto downloader = IconDownloader::instance();
    const auto path = [&](const char* url) { return downloader->iconPath(QUrl(QString::fromUtf8(url))); };
    CHECK(path("http://example.org/qr.svg") == pathIn(folder, "ba1ec7a166effc3879199322f86bd933.svg"));
    CHECK(path("http://example.org/p/abc/qr") == pathIn(folder, "1be1d5902407a68974ce3baccc32ff69.png"));
    CHECK(path("http://example.org/") == pathIn(folder, "d0d92cdc9b30c1300fbc3c7ebd304be0.png"));
    CHECK(path("http://example.org/a.tar.gz?x=1.png") == pathIn(folder, "b9be0e4a840f65baa24c8d1f81db8c1a.gz"));
    CHECK(path("http://example.org/a%2Ejpg") == pathIn(folder, "079d45637bfd1b8f5e3783081b5947ef.jpg"));
    CHECK(path("http://example.org/ä.png") == pathIn(folder, "37478ae5faf44d882f412d155aee3eae.png"));
}

TEST_CASE("icon path: the suffix is kept as the address spells it")
{
    const TemporaryFolder folder;
    const auto downloader = IconDownloader::instance();
    CHECK(downloader->iconPath(QUrl("http://example.org/QR.PNG")).endsWith(".PNG"));
    CHECK(downloader->iconPath(QUrl("http://example.org/qr.Svg")).endsWith(".Svg"));
}

TEST_CASE("icon path: two addresses that differ in their query only have different files")
{
    const TemporaryFolder folder;
    const auto downloader = IconDownloader::instance();
    CHECK(downloader->iconPath(QUrl("http://h/qr.png?a=1")) != downloader->iconPath(QUrl("http://h/qr.png?a=2")));
}

TEST_CASE("icon path: the folder is made when it is missing, each time")
{
    const TemporaryFolder folder;
    const auto downloader = IconDownloader::instance();
    QDir icons(folder.path() + "/tavola-user-page-icons");
    CHECK_FALSE(icons.exists());
    (void)downloader->iconPath(QUrl("http://h/a"));
    CHECK(icons.exists());
    REQUIRE(icons.removeRecursively());
    (void)downloader->iconPath(QUrl("http://h/a"));
    CHECK(icons.exists());
}

TEST_CASE("icon path: where the folder cannot be made the paths are the same, and pictures are fetched although none is stored")
{
    const TemporaryFolder folder;
    QFile inTheWay(folder.path() + "/tavola-user-page-icons");
    REQUIRE(inTheWay.open(QIODevice::WriteOnly));
    inTheWay.write("a file");
    inTheWay.close();
    ImageServer server;
    server.serve("/qr.png", ImageServer::png(3, 3));
    const auto downloader = IconDownloader::instance();
    CHECK(downloader->iconPath(QUrl("http://example.org/qr.svg")) == pathIn(folder, "ba1ec7a166effc3879199322f86bd933.svg"));
    auto future = downloader->getUserIcon(server.url("/qr.png"));
    REQUIRE(deliverUntil([&] { return future.isReady(); }));
    CHECK(std::move(future).get() == downloader->iconPath(server.url("/qr.png")));
    CHECK(inTheWay.size() == 6);
}

TEST_CASE("icon downloader: a picture is fetched once, stored, and its path told")
{
    const TemporaryFolder folder;
    ImageServer server;
    server.serve("/qr.png", ImageServer::png(21, 21));
    const auto downloader = IconDownloader::instance();
    auto future = downloader->getUserIcon(server.url("/qr.png"));
    CHECK_FALSE(future.isReady());
    REQUIRE(deliverUntil([&] { return future.isReady(); }));
    const QString path = std::move(future).get();
    CHECK(path == downloader->iconPath(server.url("/qr.png")));
    CHECK(QImage(path).size() == QSize(21, 21));
    CHECK(server.requests() == std::vector<QString>{"/qr.png"});
}

TEST_CASE("icon downloader: a picture that is there is told at once, even when the server has another by now")
{
    const TemporaryFolder folder;
    ImageServer server;
    server.serve("/qr.png", ImageServer::png(21, 21));
    const auto downloader = IconDownloader::instance();
    auto first = downloader->getUserIcon(server.url("/qr.png"));
    REQUIRE(deliverUntil([&] { return first.isReady(); }));
    server.serve("/qr.png", ImageServer::png(5, 5));

    auto second = downloader->getUserIcon(server.url("/qr.png"));
    REQUIRE(second.isReady());
    CHECK(QImage(std::move(second).get()).size() == QSize(21, 21));
    CHECK(server.requests().size() == 1);
}

TEST_CASE("icon downloader: a file that is there counts as the picture, even an empty one")
{
    const TemporaryFolder folder;
    const ImageServer server;
    const auto downloader = IconDownloader::instance();
    const QString path = downloader->iconPath(server.url("/qr.png"));
    QFile file(path);
    REQUIRE(file.open(QIODevice::WriteOnly));
    file.close();
    REQUIRE(QFileInfo(path).size() == 0);
    auto future = downloader->getUserIcon(server.url("/qr.png"));
    REQUIRE(future.isReady());
    CHECK(std::move(future).get() == path);
    CHECK(server.requests().empty());
}

TEST_CASE("icon downloader: a network error fails the future, and a later request tries again")
{
    const TemporaryFolder folder;
    ImageServer server;
    server.serveRaw("/qr.png", "HTTP/1.1 404 Not Found\r\nContent-Length: 0\r\nConnection: close\r\n\r\n");
    const auto downloader = IconDownloader::instance();
    auto future = downloader->getUserIcon(server.url("/qr.png"));
    REQUIRE(deliverUntil([&] { return future.isReady(); }));
    CHECK(failureOf<std::runtime_error>(future) == ImageServer::networkErrorText(server.url("/qr.png")));
    CHECK_FALSE(QFile::exists(downloader->iconPath(server.url("/qr.png"))));

    server.serve("/qr.png", ImageServer::png(4, 4));
    auto again = downloader->getUserIcon(server.url("/qr.png"));
    REQUIRE(deliverUntil([&] { return again.isReady(); }));
    CHECK(QFile::exists(std::move(again).get()));
    CHECK(server.requests().size() == 3); // the second one is the test's
}

TEST_CASE("icon downloader: a connection that is cut fails the future")
{
    const TemporaryFolder folder;
    ImageServer server;
    server.serveRaw("/qr.png", "HTTP/1.1 200 OK\r\nContent-Length: 4000\r\n\r\nhalf");
    const auto downloader = IconDownloader::instance();
    auto future = downloader->getUserIcon(server.url("/qr.png"));
    REQUIRE(deliverUntil([&] { return future.isReady(); }));
    CHECK(failureOf<std::runtime_error>(future) == ImageServer::networkErrorText(server.url("/qr.png")));
}

TEST_CASE("icon downloader: an empty address fails the future")
{
    const TemporaryFolder folder;
    const auto downloader = IconDownloader::instance();
    auto future = downloader->getUserIcon(QUrl());
    REQUIRE(deliverUntil([&] { return future.isReady(); }));
    CHECK(failureOf<std::runtime_error>(future) == ImageServer::networkErrorText(QUrl()));
}

TEST_CASE("icon downloader: a second request for an address under way throws, the first one goes on")
{
    const TemporaryFolder folder;
    ImageServer server;
    server.serve("/qr.png", ImageServer::png(3, 3));
    const auto downloader = IconDownloader::instance();
    auto first = downloader->getUserIcon(server.url("/qr.png"));
    CHECK_THROWS_WITH_AS((void)downloader->getUserIcon(server.url("/qr.png")), "Future already retrieved", std::logic_error);
    REQUIRE(deliverUntil([&] { return first.isReady(); }));
    CHECK(QFile::exists(std::move(first).get()));
    CHECK(server.requests().size() == 1);
}

TEST_CASE("icon downloader: an address under way stays taken, also when a file of its picture appears meanwhile")
{
    const TemporaryFolder folder;
    ImageServer server;
    server.hold("/qr.png");
    const auto downloader = IconDownloader::instance();
    const auto first = downloader->getUserIcon(server.url("/qr.png"));
    QFile file(downloader->iconPath(server.url("/qr.png")));
    REQUIRE(file.open(QIODevice::WriteOnly));
    file.write(ImageServer::png(3, 3));
    file.close();
    CHECK_THROWS_WITH_AS((void)downloader->getUserIcon(server.url("/qr.png")), "Future already retrieved", std::logic_error);
    CHECK_FALSE(first.isReady());
}

TEST_CASE("icon downloader: the network's replies are left to the network, for its other users")
{
    const TemporaryFolder folder;
    ImageServer server;
    const auto downloader = IconDownloader::instance();
    SUBCASE("a picture")
    {
        server.serve("/qr.png", ImageServer::png(3, 3));
    }
    SUBCASE("no picture")
    {
        server.serve("/qr.png", "<html>no picture</html>");
    }
    SUBCASE("an error")
    {
        server.serveRaw("/qr.png", "HTTP/1.1 404 Not Found\r\nContent-Length: 0\r\nConnection: close\r\n\r\n");
    }
    const FinishedCounter finished(*downloader);
    const auto future = downloader->getUserIcon(server.url("/qr.png"));
    const auto replies = downloader->findChildren<QNetworkReply*>();
    REQUIRE(replies.size() == 1);
    const QPointer<QNetworkReply> reply(replies.front());
    REQUIRE(deliverUntil([&] { return finished.count() == 1; }));
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    CHECK(reply);
}

TEST_CASE("icon downloader: a reply for an address that it does not wait for is left alone")
{
    const TemporaryFolder folder;
    ImageServer server;
    server.serve("/other.png", ImageServer::png(3, 3));
    const auto downloader = IconDownloader::instance();
    const FinishedCounter finished(*downloader);
    const QPointer<QNetworkReply> reply =
        downloader->findChild<QNetworkAccessManager*>()->get(QNetworkRequest(server.url("/other.png")));
    REQUIRE(deliverUntil([&] { return finished.count() == 1; }));
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    REQUIRE(reply);
    downloader->onNetworkRequestFinished(reply);            // which is public
    CHECK(QImage::fromData(reply->readAll()).width() == 3); // nor read
    CHECK_FALSE(QFile::exists(downloader->iconPath(server.url("/other.png"))));
}

TEST_CASE("icon downloader: addresses are fetched side by side")
{
    const TemporaryFolder folder;
    ImageServer server;
    server.serve("/a.png", ImageServer::png(3, 3));
    server.serve("/b.png", ImageServer::png(4, 4));
    const auto downloader = IconDownloader::instance();
    auto a = downloader->getUserIcon(server.url("/a.png"));
    auto b = downloader->getUserIcon(server.url("/b.png"));
    REQUIRE(deliverUntil([&] { return a.isReady() && b.isReady(); }));
    CHECK(QImage(std::move(a).get()).width() == 3);
    CHECK(QImage(std::move(b).get()).width() == 4);
}

TEST_CASE("icon downloader: an answer that is no picture is never told, and the address stays taken")
{
    const TemporaryFolder folder;
    ImageServer server;
    server.serve("/qr.png", "<html>no picture</html>");
    const auto downloader = IconDownloader::instance();
    const FinishedCounter finished(*downloader);
    auto future = downloader->getUserIcon(server.url("/qr.png"));
    REQUIRE(deliverUntil([&] { return finished.count() == 1; }));
    CHECK_FALSE(future.isReady());
    CHECK_FALSE(QFile::exists(downloader->iconPath(server.url("/qr.png"))));
    CHECK_THROWS_WITH_AS((void)downloader->getUserIcon(server.url("/qr.png")), "Future already retrieved", std::logic_error);
}

TEST_CASE("icon downloader: a redirect is not followed")
{
    const TemporaryFolder folder;
    ImageServer server;
    server.serveRaw("/qr.png", "HTTP/1.1 302 Found\r\nLocation: /other.png\r\nContent-Length: 0\r\nConnection: close\r\n\r\n");
    const auto downloader = IconDownloader::instance();
    const FinishedCounter finished(*downloader);
    auto future = downloader->getUserIcon(server.url("/qr.png"));
    REQUIRE(deliverUntil([&] { return finished.count() == 1; }));
    CHECK_FALSE(future.isReady());
    CHECK(server.requests().size() == 1);
}

TEST_CASE("icon downloader: the format of a picture is found in its bytes, that of the file in its suffix")
{
    const TemporaryFolder folder;
    ImageServer server;
    server.serve("/qr.jpg", ImageServer::png(8, 8));
    const auto downloader = IconDownloader::instance();
    auto future = downloader->getUserIcon(server.url("/qr.jpg"));
    REQUIRE(deliverUntil([&] { return future.isReady(); }));
    QFile file(std::move(future).get());
    REQUIRE(file.open(QIODevice::ReadOnly));
    CHECK(file.read(2) == QByteArray("\xff\xd8"));
}

TEST_CASE("icon downloader: a path is told also where the picture could not be stored")
{
    const TemporaryFolder folder;
    ImageServer server;
    server.serve("/qr.svg", ImageServer::png(8, 8));
    const auto downloader = IconDownloader::instance();
    auto future = downloader->getUserIcon(server.url("/qr.svg"));
    REQUIRE(deliverUntil([&] { return future.isReady(); }));
    const QString path = std::move(future).get();
    CHECK(path == downloader->iconPath(server.url("/qr.svg")));
    CHECK_FALSE(QFile::exists(path));
}

TEST_CASE("icon downloader: the instance is shared while it is held, and made anew after that")
{
    const TemporaryFolder folder;
    ImageServer server;
    server.hold("/qr.png");
    std::weak_ptr<IconDownloader> weak;
    {
        const auto downloader = IconDownloader::instance();
        weak = downloader;
        CHECK(downloader == IconDownloader::instance());
        auto held = downloader->getUserIcon(server.url("/qr.png"));
        CHECK_THROWS_AS((void)IconDownloader::instance()->getUserIcon(server.url("/qr.png")), std::logic_error);
    }
    CHECK(weak.expired());
    const auto fresh = IconDownloader::instance();
    CHECK_NOTHROW((void)fresh->getUserIcon(server.url("/qr.png")));
}

TEST_CASE("icon downloader: a downloader that goes during a download breaks its promise")
{
    const TemporaryFolder folder;
    ImageServer server;
    server.hold("/qr.png");
    auto downloader = IconDownloader::instance();
    auto future = downloader->getUserIcon(server.url("/qr.png"));
    REQUIRE(TestSupport::pumpUntil([&] { return server.requests().size() == 1; }));
    downloader.reset();
    CHECK(failureOf<std::logic_error>(future) == "Broken promise for type name `QString`");
}

TEST_CASE("icon downloader: the slot fulfils before it returns, then removes the entry, for a picture and for an error")
{
    const TemporaryFolder folder;
    ImageServer server;
    const auto downloader = IconDownloader::instance();
    SUBCASE("a picture")
    {
        server.serve("/qr.png", ImageServer::png(3, 3));
    }
    SUBCASE("an error")
    {
        server.serveRaw("/qr.png", "HTTP/1.1 404 Not Found\r\nContent-Length: 0\r\nConnection: close\r\n\r\n");
    }
    std::string order;
    // Connected after the downloader, so called after its slot.
    QObject::connect(downloader->findChild<QNetworkAccessManager*>(), &QNetworkAccessManager::finished, downloader.get(),
                     [&] { order += "returned "; });
    auto future = downloader->getUserIcon(server.url("/qr.png")).thenTry([&](folly::Try<QString>&&) {
        order += "fulfilled ";
        // Its entry is still there.
        if (!QFile::exists(downloader->iconPath(server.url("/qr.png"))))
            CHECK_THROWS_AS((void)downloader->getUserIcon(server.url("/qr.png")), std::logic_error);
    });
    REQUIRE(deliverUntil([&] { return future.isReady(); }));
    CHECK(order == "fulfilled returned ");
    CHECK_NOTHROW((void)downloader->getUserIcon(server.url("/qr.png")));
}

TEST_CASE("icon downloader: a continuation may drop the last pointer to the downloader")
{
    const TemporaryFolder folder;
    ImageServer server;
    SUBCASE("a picture")
    {
        server.serve("/qr.png", ImageServer::png(3, 3));
    }
    SUBCASE("an error")
    {
        server.serveRaw("/qr.png", "HTTP/1.1 404 Not Found\r\nContent-Length: 0\r\nConnection: close\r\n\r\n");
    }
    auto downloader = IconDownloader::instance();
    const std::weak_ptr<IconDownloader> weak = downloader;
    auto future = downloader->getUserIcon(server.url("/qr.png")).thenTry([&](folly::Try<QString>&&) {
        downloader.reset();
        CHECK_FALSE(weak.expired()); // the slot keeps it
    });
    REQUIRE(deliverUntil([&] { return future.isReady(); }));
    CHECK(Bedrock::AfterUpdateQueue::instance().drain() == 1);
    CHECK(weak.expired());
}
