#include "server/PersonalSpaceUploader.hpp"

#include "ImageServer.hpp"
#include "LogCapture.hpp"
#include "TemporaryFolder.hpp"
#include "Uploads.hpp"
#include "server/IconDownloader.hpp"

#include <QFile>
#include <QJsonObject>

#include <doctest/doctest.h>

// The page of a card, and its QR picture.

using PluginTest::EventLog;
using PluginTest::ImageServer;
using PluginTest::newCode;
using PluginTest::Uploads;
using Tavola::IconDownloader;
using Tavola::PersonalSpaceContents;
using Tavola::PersonalSpaceUploader;
using TestSupport::expectWarning;
using TestSupport::TestHost;

namespace
{
/// A card whose page is asked for, with a server of its QR picture.
struct PageUploads : Uploads
{
    const PluginTest::TemporaryFolder folder;
    ImageServer images;
    const QString qrAddress = images.url("/qr.png").toString();

    PageUploads() { images.hold("/qr.png"); }
    [[nodiscard]] PersonalSpaceContents::UserPage page() const { return contents->userPage(); }
    /// Asks for the page; the answer names it and its QR picture, if these are not empty.
    void answerPage(const QString& url, const QString& qrCode, const QJsonValue& success = true)
    {
        uploader.updateUserPage();
        QJsonObject reply{{"success", success}};
        if (!url.isEmpty())
            reply["userpageurl"] = url;
        if (!qrCode.isEmpty())
            reply["qrcodeurl"] = qrCode;
        answer(commands().size() - 1, reply);
    }
    /// Announces that the QR picture of `address` will not be there.
    void expectNoPicture(const std::string& address, const std::string& why) const
    {
        expectWarning("PersonalSpaceUploader # Failed to download QR icon for marker " + std::to_string(code) + " from " + address
                      + " : " + why);
    }
};
}

TEST_CASE("uploader: the request for the user page names the card")
{
    Uploads space;
    space.uploader.updateUserPage();
    REQUIRE(space.commands().size() == 1);
    CHECK(space.commands()[0] == QJsonObject{{"command", "getuserpage"}, {"tessel", double(space.code)}});
}

TEST_CASE("uploader: the page is stored first, its QR picture when it is there, also for a page without an address")
{
    for (const char* url : {"http://pages/p/1", ""}) {
        CAPTURE(url);
        PageUploads space;
        space.images.serve("/qr.png", ImageServer::png(7, 7));
        space.contents->setUserPage({"http://old", "/old.png"});
        EventLog log;
        log.listen(*space.contents, "user-page-changed", EventLog::Payload::None);
        space.answerPage(url, space.qrAddress);
        CHECK(space.page().url == url);
        CHECK(space.page().qrIcon.isEmpty());
        REQUIRE(space.host.frameUntil([&] { return !space.page().qrIcon.isEmpty(); }));
        CHECK(QFile::exists(space.page().qrIcon));
        CHECK(space.page().url == url);
        CHECK(log.lines.size() == 2);
        CHECK(space.images.requests() == std::vector<QString>{"/qr.png"});
    }
}

TEST_CASE("uploader: the text true gives a page as well as the value does")
{
    PageUploads space;
    space.answerPage("http://pages/p/1", space.qrAddress, "true");
    CHECK(space.page().url == "http://pages/p/1");
}

TEST_CASE("uploader: a page begins without a picture, whatever the page before had")
{
    for (const char* before : {"http://pages/p/1", "http://pages/p/2"}) {
        CAPTURE(before);
        PageUploads space;
        space.contents->setUserPage({before, "/before.png"});
        space.answerPage("http://pages/p/2", space.qrAddress);
        CHECK(space.page().url == "http://pages/p/2");
        CHECK(space.page().qrIcon.isEmpty());
    }
}

TEST_CASE("uploader: a QR picture that cannot be downloaded leaves the page without one, and is logged as the server wrote it")
{
    for (const bool hasScheme : {true, false}) {
        CAPTURE(hasScheme);
        PageUploads space;
        const std::size_t logged = TestSupport::loggedLines().size();
        space.images.serveRaw("/qr.png", "HTTP/1.1 404 Not Found\r\nContent-Length: 0\r\nConnection: close\r\n\r\n");
        const QString written = hasScheme ? space.qrAddress : space.qrAddress.mid(int(qstrlen("http://")));
        space.expectNoPicture(written.toStdString(), ImageServer::networkErrorText(space.images.url("/qr.png")));
        space.answerPage("http://pages/p/1", written);
        CHECK(space.host.frameUntil([&] { return TestSupport::loggedLines().size() > logged; }));
        CHECK(space.page().url == "http://pages/p/1");
        CHECK(space.page().qrIcon.isEmpty());
        CHECK(space.images.requests() == std::vector<QString>{"/qr.png", "/qr.png"}); // the first one is the test's
    }
}

TEST_CASE("uploader: an answer without a QR address keeps the page and logs the missing picture")
{
    PageUploads space;
    space.expectNoPicture("", ImageServer::networkErrorText(QUrl()));
    space.answerPage("http://pages/p/1", {});
    CHECK(space.host.frameUntil([] { return !TestSupport::loggedLines().empty(); }));
    CHECK(space.page().url == "http://pages/p/1");
}

TEST_CASE("uploader: a QR picture for a page that is no longer the person's is dropped in silence")
{
    PageUploads space;
    space.images.serve("/qr.png", ImageServer::png(7, 7));
    const auto downloader = IconDownloader::instance();
    space.answerPage("http://pages/p/1", space.qrAddress);
    space.contents->setUserPage({"http://pages/p/2", "/two.png"});
    EventLog log;
    log.listen(*space.contents, "user-page-changed", EventLog::Payload::None);
    REQUIRE(space.host.frameUntil([&] { return QFile::exists(downloader->iconPath(space.qrAddress)); }));
    space.host.frames(2);
    CHECK(space.page().url == "http://pages/p/2");
    CHECK(space.page().qrIcon == "/two.png");
    CHECK(log.lines.empty());
}

TEST_CASE("uploader: a second download of one QR address is a warning and leaves the page as it is")
{
    PageUploads space;
    space.answerPage("http://pages/p/1", space.qrAddress);
    space.expectNoPicture(space.qrAddress.toStdString(), "Future already retrieved");
    space.answerPage("http://pages/p/1", space.qrAddress);
    space.host.frame();
    CHECK(TestSupport::loggedLines().size() == 1);
    CHECK(space.page().url == "http://pages/p/1");
}

TEST_CASE("uploader: a page that arrives after the last uploader was destroyed has no QR picture")
{
    const PluginTest::TemporaryFolder folder;
    TestHost host;
    ImageServer images;
    images.hold("/qr.png");
    const auto code = newCode();
    std::make_unique<PersonalSpaceUploader>(code)->updateUserPage();
    const QString address = images.url("/qr.png").toString();
    expectWarning("PersonalSpaceUploader # Failed to download QR icon for marker " + std::to_string(code) + " from "
                  + address.toStdString() + " : Broken promise for type name `QString`");
    host.mediaServer().answer(0, {{"success", true}, {"userpageurl", "http://pages/p/1"}, {"qrcodeurl", address}});
    host.frames(2);
    CHECK(PersonalSpaceContents::personalContent(code)->userPage().url == "http://pages/p/1");
}

TEST_CASE("uploader: the downloader lives as long as any uploader")
{
    std::weak_ptr<IconDownloader> downloader;
    {
        const PersonalSpaceUploader first(1);
        downloader = IconDownloader::instance();
        {
            const PersonalSpaceUploader second(2);
        }
        CHECK_FALSE(downloader.expired());
    }
    CHECK(downloader.expired());
}
