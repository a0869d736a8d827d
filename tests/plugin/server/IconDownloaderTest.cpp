#include "server/IconDownloader.hpp"

#include "EventLoop.hpp"
#include "ImageServer.hpp"
#include "TemporaryFolder.hpp"

#include <LogCapture.hpp>

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
using TestSupport::expectWarning;

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

const QByteArray kNotFound = "HTTP/1.1 404 Not Found\r\nContent-Length: 0\r\nConnection: close\r\n\r\n";
/// With a reason in Latin-1, the letters of HTTP's heads.
const QByteArray kGone = "HTTP/1.1 410 Gel\xf6scht\r\nContent-Length: 0\r\nConnection: close\r\n\r\n";

/// A downloader, a server of pictures and a folder for them, all new.
struct Icons
{
    const TemporaryFolder folder;
    ImageServer server;
    std::shared_ptr<IconDownloader> downloader = IconDownloader::instance();

    [[nodiscard]] QString pathOf(const char* target = "/qr.png") const { return downloader->iconPath(server.url(target)); }
    /// Begins a download.
    folly::Future<QString> ask(const char* target = "/qr.png") { return downloader->getUserIcon(server.url(target)); }
    void checkTaken() { CHECK_THROWS_WITH_AS((void)ask(), "Future already retrieved", std::logic_error); }
    /// A download that has ended.
    folly::Future<QString> fetch(const char* target = "/qr.png")
    {
        auto future = ask(target);
        REQUIRE(deliverUntil([&] { return future.isReady(); }));
        return future;
    }
    /// A download that the network has answered.
    folly::Future<QString> fetchUnfulfilled()
    {
        const FinishedCounter finished(*downloader);
        auto future = ask();
        REQUIRE(deliverUntil([&] { return finished.count() == 1; }));
        return future;
    }
    /// A file in the place of the picture.
    void store(const QByteArray& bytes) const
    {
        QFile file(pathOf());
        REQUIRE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
    }
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
    // The suffix as the address spells it, and a file of its own for each query.
    CHECK(path("http://example.org/QR.PNG").endsWith(".PNG"));
    CHECK(path("http://example.org/qr.Svg").endsWith(".Svg"));
    CHECK(path("http://h/qr.png?a=1") != path("http://h/qr.png?a=2"));
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

TEST_CASE(
    "icon downloader: a picture is fetched once, stored, and its path reported, then at once, even when the server has another")
{
    Icons icons;
    icons.server.serve("/qr.png", ImageServer::png(21, 21));
    auto future = icons.ask();
    CHECK_FALSE(future.isReady());
    REQUIRE(deliverUntil([&] { return future.isReady(); }));
    const QString path = std::move(future).get();
    CHECK(path == icons.pathOf());
    CHECK(QImage(path).size() == QSize(21, 21));

    icons.server.serve("/qr.png", ImageServer::png(5, 5));
    auto second = icons.ask();
    REQUIRE(second.isReady());
    CHECK(QImage(std::move(second).get()).size() == QSize(21, 21));
    CHECK(icons.server.requests() == std::vector<QString>{"/qr.png"});
}

TEST_CASE("icon downloader: a file that is there counts as the picture, even an empty one")
{
    Icons icons;
    icons.store({});
    REQUIRE(QFileInfo(icons.pathOf()).size() == 0);
    auto future = icons.ask();
    REQUIRE(future.isReady());
    CHECK(std::move(future).get() == icons.pathOf());
    CHECK(icons.server.requests().empty());
}

TEST_CASE("icon downloader: an error of the network fails the future, and a later request tries again")
{
    for (const QByteArray& answer : {kNotFound, kGone, QByteArray("HTTP/1.1 200 OK\r\nContent-Length: 4000\r\n\r\nhalf")}) {
        CAPTURE(answer.toStdString());
        Icons icons;
        icons.server.serveRaw("/qr.png", answer);
        auto future = icons.fetch();
        CHECK(failureOf<std::runtime_error>(future) == ImageServer::networkErrorText(icons.server.url("/qr.png")));
        CHECK_FALSE(QFile::exists(icons.pathOf()));

        icons.server.serve("/qr.png", ImageServer::png(4, 4));
        CHECK(QFile::exists(icons.fetch().get()));
        CHECK(icons.server.requests().size() == 3); // the second one is the test's
    }
}

TEST_CASE("icon downloader: an empty address fails the future")
{
    const Icons icons;
    auto future = icons.downloader->getUserIcon(QUrl());
    REQUIRE(deliverUntil([&] { return future.isReady(); }));
    CHECK(failureOf<std::runtime_error>(future) == ImageServer::networkErrorText(QUrl()));
}

TEST_CASE("icon downloader: a second request for an address under way throws, the first one goes on")
{
    Icons icons;
    icons.server.serve("/qr.png", ImageServer::png(3, 3));
    auto first = icons.ask();
    icons.checkTaken();
    REQUIRE(deliverUntil([&] { return first.isReady(); }));
    CHECK(QFile::exists(std::move(first).get()));
    CHECK(icons.server.requests().size() == 1);
}

TEST_CASE("icon downloader: an address under way stays taken, also when a file of its picture appears meanwhile")
{
    Icons icons;
    icons.server.hold("/qr.png");
    const auto first = icons.ask();
    icons.store(ImageServer::png(3, 3));
    icons.checkTaken();
    CHECK_FALSE(first.isReady());
}

TEST_CASE("icon downloader: the network's replies are left to the network, for its other users")
{
    for (const char* answer : {"a picture", "no picture", "an error"}) {
        CAPTURE(answer);
        Icons icons;
        if (answer == std::string("an error"))
            icons.server.serveRaw("/qr.png", kNotFound);
        else
            icons.server.serve("/qr.png",
                               answer == std::string("a picture") ? ImageServer::png(3, 3) : "<html>no picture</html>");
        if (answer == std::string("no picture"))
            expectWarning(
                "Network # " + icons.server.url("/qr.png").toString().toStdString()
                + " is no picture that can be read (23 bytes, status 200): look at what the address answers in a browser");
        const FinishedCounter finished(*icons.downloader);
        const auto future = icons.ask();
        const auto replies = icons.downloader->findChildren<QNetworkReply*>();
        REQUIRE(replies.size() == 1);
        const QPointer<QNetworkReply> reply(replies.front());
        REQUIRE(deliverUntil([&] { return finished.count() == 1; }));
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        CHECK(reply);
    }
}

TEST_CASE("icon downloader: a reply for an address that it does not wait for is left alone")
{
    Icons icons;
    icons.server.serve("/other.png", ImageServer::png(3, 3));
    const FinishedCounter finished(*icons.downloader);
    const QPointer<QNetworkReply> reply =
        icons.downloader->findChild<QNetworkAccessManager*>()->get(QNetworkRequest(icons.server.url("/other.png")));
    REQUIRE(deliverUntil([&] { return finished.count() == 1; }));
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    REQUIRE(reply);
    icons.downloader->onNetworkRequestFinished(reply);      // which is public
    CHECK(QImage::fromData(reply->readAll()).width() == 3); // nor read
    CHECK_FALSE(QFile::exists(icons.pathOf("/other.png")));
}

TEST_CASE("icon downloader: addresses are fetched side by side")
{
    Icons icons;
    icons.server.serve("/a.png", ImageServer::png(3, 3));
    icons.server.serve("/b.png", ImageServer::png(4, 4));
    auto a = icons.ask("/a.png");
    auto b = icons.ask("/b.png");
    REQUIRE(deliverUntil([&] { return a.isReady() && b.isReady(); }));
    CHECK(QImage(std::move(a).get()).width() == 3);
    CHECK(QImage(std::move(b).get()).width() == 4);
}

TEST_CASE("icon downloader: an answer that is no picture is never reported, a redirect not followed, and the address stays taken")
{
    struct Row
    {
        QByteArray answer;
        const char* warning; ///< of the network, behind the address
    };
    for (const Row& row :
         {Row{"HTTP/1.1 200 OK\r\nContent-Length: 23\r\nConnection: close\r\n\r\n<html>no picture</html>",
              "is no picture that can be read (23 bytes, status 200): look at what the address answers in a browser"},
          Row{"HTTP/1.1 302 Found\r\nLocation: /other.png\r\nContent-Length: 0\r\nConnection: close\r\n\r\n",
              "is no picture: it points to /other.png, which is not followed (status 302); let the server name that address"}}) {
        CAPTURE(row.answer.toStdString());
        Icons icons;
        icons.server.serveRaw("/qr.png", row.answer);
        expectWarning("Network # " + icons.server.url("/qr.png").toString().toStdString() + ' ' + row.warning);
        const auto future = icons.fetchUnfulfilled();
        CHECK_FALSE(future.isReady());
        CHECK_FALSE(QFile::exists(icons.pathOf()));
        CHECK(icons.server.requests().size() == 1);
        icons.checkTaken();
    }
}

TEST_CASE("icon downloader: the format of a picture is found in its bytes, that of the file in its suffix")
{
    Icons icons;
    icons.server.serve("/qr.jpg", ImageServer::png(8, 8));
    QFile file(icons.fetch("/qr.jpg").get());
    REQUIRE(file.open(QIODevice::ReadOnly));
    CHECK(file.read(2) == QByteArray("\xff\xd8"));
}

TEST_CASE("icon downloader: a path is reported also where the picture could not be stored")
{
    Icons icons;
    icons.server.serve("/qr.svg", ImageServer::png(8, 8));
    const QString path = icons.fetch("/qr.svg").get();
    CHECK(path == icons.pathOf("/qr.svg"));
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
    Icons icons;
    icons.server.hold("/qr.png");
    auto future = icons.ask();
    REQUIRE(TestSupport::pumpUntil([&] { return icons.server.requests().size() == 1; }));
    icons.downloader.reset();
    CHECK(failureOf<std::logic_error>(future) == "Broken promise for type name `QString`");
}

TEST_CASE("icon downloader: the slot fulfils before it returns, then removes the entry, for a picture and for an error")
{
    for (const bool isPicture : {true, false}) {
        CAPTURE(isPicture);
        Icons icons;
        if (isPicture)
            icons.server.serve("/qr.png", ImageServer::png(3, 3));
        else
            icons.server.serveRaw("/qr.png", kNotFound);
        std::string order;
        // Connected after the downloader, so called after its slot.
        QObject::connect(icons.downloader->findChild<QNetworkAccessManager*>(), &QNetworkAccessManager::finished,
                         icons.downloader.get(), [&] { order += "returned "; });
        auto future = icons.ask().thenTry([&](folly::Try<QString>&&) {
            order += "fulfilled ";
            // Its entry is still there.
            if (!QFile::exists(icons.pathOf()))
                CHECK_THROWS_AS((void)icons.ask(), std::logic_error);
        });
        REQUIRE(deliverUntil([&] { return future.isReady(); }));
        CHECK(order == "fulfilled returned ");
        CHECK_NOTHROW((void)icons.ask());
    }
}

TEST_CASE("icon downloader: a continuation may drop the last pointer to the downloader")
{
    for (const bool isPicture : {true, false}) {
        CAPTURE(isPicture);
        Icons icons;
        if (isPicture)
            icons.server.serve("/qr.png", ImageServer::png(3, 3));
        else
            icons.server.serveRaw("/qr.png", kNotFound);
        const std::weak_ptr<IconDownloader> weak = icons.downloader;
        auto future = icons.ask().thenTry([&](folly::Try<QString>&&) {
            icons.downloader.reset();
            CHECK_FALSE(weak.expired()); // the slot keeps it
        });
        REQUIRE(deliverUntil([&] { return future.isReady(); }));
        CHECK(Bedrock::AfterUpdateQueue::instance().drain() == 1);
        CHECK(weak.expired());
    }
}
