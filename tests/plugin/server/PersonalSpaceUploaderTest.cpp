#include "server/PersonalSpaceUploader.hpp"

#include "LogCapture.hpp"
#include "Uploads.hpp"

#include <QJsonObject>

#include <doctest/doctest.h>

#include <functional>
#include <stdexcept>
#include <thread>

using PluginTest::EventLog;
using PluginTest::kNoService;
using PluginTest::line;
using PluginTest::newCode;
using PluginTest::Strings;
using PluginTest::Uploads;
using Tavola::PersonalSpaceUploader;
using TestSupport::expectWarning;
using TestSupport::TestHost;
using ItemStatus = PersonalSpaceUploader::ItemStatus;

namespace
{
const std::string kUploadFailed = "PersonalSpaceUploader # Failed to upload user item : ";
const std::string kDeleteFailed = "PersonalSpaceUploader # Failed to delete user item : ";
const std::string kPageFailed = "PersonalSpaceUploader # Failed to fetch user's URL : ";
const QJsonObject kYes{{"success", true}};
const QJsonObject kNo{{"success", false}};
const std::string kNoText = "Unknown JSON\nResponse was : {\"success\":false}";

/// A media server whose calls end with an exception.
class ThrowingServer final : public Tavola::ServiceInstance, public Tavola::JSONServerServiceAPI
{
    folly::Future<QJsonObject> request(const QJsonObject&) override { throw std::runtime_error("not today"); }
};

QJsonObject addItemCommand(unsigned long code, const char* kind, const char* value, const char* displayName)
{
    return {{"command", "additem"},
            {"tessel", double(code)},
            {"systemname", "Undefined"},
            {kind, value},
            {"displayname", displayName}};
}

QJsonObject deleteItemCommand(unsigned long code, const char* kind, const char* value)
{
    return {{"command", "deleteitem"}, {"tessel", double(code)}, {"systemname", "Undefined"}, {kind, value}};
}
}

TEST_CASE("uploader: an item is sent with card, system, address and name, and becomes Uploaded")
{
    Uploads space;
    const long id = space.addItem("http://example.org/x");
    EventLog log;
    log.listen(*space.contents, "item-status-changed", EventLog::Payload::IdAndInt32);
    space.uploader.uploadItem(id);
    CHECK(space.status(id) == ItemStatus::Uploading);
    REQUIRE(space.commands().size() == 1);
    CHECK(space.commands()[0] == addItemCommand(space.code, "url", "http://example.org/x", "A name"));
    space.answer(0, kYes);
    CHECK(space.status(id) == ItemStatus::Uploaded);
    CHECK(log.lines == Strings{line("item-status-changed", id, " 2"), line("item-status-changed", id, " 3")});
}

TEST_CASE("uploader: a local file is sent by its name alone")
{
    Uploads space;
    space.uploader.uploadItem(space.addItem("/media/a/tiger.png"));
    REQUIRE(space.commands().size() == 1);
    CHECK(space.commands()[0] == addItemCommand(space.code, "filename", "tiger.png", "A name"));
    CHECK_FALSE(space.commands()[0].contains("url"));
}

TEST_CASE("uploader: an item without a name is sent with an empty one")
{
    Uploads space;
    space.uploader.uploadItem(space.addItem("http://example.org/x", ItemStatus::Ready, ""));
    REQUIRE(space.commands().size() == 1);
    CHECK(space.commands()[0] == addItemCommand(space.code, "url", "http://example.org/x", ""));
    CHECK(space.commands()[0].contains("displayname"));
}

TEST_CASE("uploader: an answer that was there at once waits for the end of a frame")
{
    Uploads space;
    space.host.mediaServer().script = [](const QJsonObject&) { return kYes; };
    const long id = space.addItem("http://a");
    space.uploader.uploadItem(id);
    CHECK(space.status(id) == ItemStatus::Uploading);
    space.host.frame();
    CHECK(space.status(id) == ItemStatus::Uploaded);
}

TEST_CASE("uploader: what another thread answers is stored on the main thread, after a frame's update")
{
    for (const bool isUpload : {true, false}) {
        CAPTURE(isUpload);
        Uploads space;
        const long id = space.addItem("http://a", isUpload ? ItemStatus::Ready : ItemStatus::Uploaded);
        isUpload ? space.uploader.uploadItem(id) : space.uploader.removeItem(id);
        std::thread::id thread;
        space.contents->eventAddListener("item-status-changed", [&] { thread = std::this_thread::get_id(); });
        space.host.mediaServer().answerFromThread(0, kYes);
        CHECK(space.status(id) == (isUpload ? ItemStatus::Uploading : ItemStatus::Uploaded));
        space.host.frame();
        CHECK(space.status(id) == (isUpload ? ItemStatus::Uploaded : ItemStatus::Ready));
        CHECK(thread == std::this_thread::get_id());
    }
}

TEST_CASE("uploader: an item that is Pending, Uploading or Uploaded is not sent")
{
    Uploads space;
    for (const auto status : {ItemStatus::Pending, ItemStatus::Uploading, ItemStatus::Uploaded}) {
        CAPTURE(static_cast<int>(status));
        const long id = space.addItem("http://a", status);
        EventLog log;
        const auto listener = space.contents->eventAddListener("item-status-changed", [&] { log.lines.push_back("changed"); });
        space.uploader.uploadItem(id);
        CHECK(space.status(id) == status);
        CHECK(log.lines.empty());
        space.contents->eventRemoveListener(listener);
    }
    CHECK(space.commands().empty());
}

TEST_CASE("uploader: an unknown item is neither sent nor deleted")
{
    Uploads space;
    space.uploader.uploadItem(42);
    space.uploader.removeItem(42);
    CHECK(space.commands().empty());
}

TEST_CASE("uploader: a refused item is Failed, logged with the answer, and can be tried again")
{
    Uploads space;
    const long id = space.addItem("http://a");
    space.uploader.uploadItem(id);
    expectWarning(kUploadFailed + kNoText);
    space.answer(0, kNo);
    CHECK(space.status(id) == ItemStatus::Failed);
    space.uploader.uploadItem(id);
    CHECK(space.status(id) == ItemStatus::Uploading);
    REQUIRE(space.commands().size() == 2);
    space.answer(1, {{"success", "true"}});
    CHECK(space.status(id) == ItemStatus::Uploaded);
}

TEST_CASE("uploader: nothing to upload is Failed at once and nothing is sent")
{
    Uploads space;
    const long id = space.addItem("");
    EventLog log;
    log.listen(*space.contents, "item-status-changed", EventLog::Payload::IdAndInt32);
    expectWarning(kUploadFailed + "Failed to find anything to upload");
    space.uploader.uploadItem(id);
    CHECK(space.status(id) == ItemStatus::Failed);
    CHECK(log.lines == Strings{line("item-status-changed", id, " 2"), line("item-status-changed", id, " 4")});
    CHECK(space.commands().empty());
}

TEST_CASE("uploader: a request that fails, in whatever way, is one warning with its reason, and changes its own result only")
{
    struct Cause
    {
        const char* what;
        std::function<void(TestHost&)> prepare;
        std::function<void(TestHost&)> fail; ///< called when the request is open
        std::string text;
    };
    const auto nothing = [](TestHost&) {};
    const Cause causes[] = {
        {"refused", nothing, [](TestHost& host) { host.mediaServer().answer(0, kNo); }, kNoText},
        {"an exception", nothing, [](TestHost& host) { host.mediaServer().fail(0, "kein Weg für Daten"); }, "kein Weg für Daten"},
        {"an exception of another thread", nothing, [](TestHost& host) { host.mediaServer().failFromThread(0, "timed out"); },
         "timed out"},
        {"a broken promise", nothing, [](TestHost& host) { host.mediaServer().breakPromises(); },
         "Broken promise for type name `QJsonObject`"},
        {"no service", [](TestHost& host) { host.removeMediaServer(); }, nothing, kNoService},
        {"an exception out of the call",
         [](TestHost& host) {
             host.removeMediaServer();
             host.tavola().services()->addService("media-server-service", "thrower", std::make_shared<ThrowingServer>());
         },
         nothing, "not today"},
    };
    struct Request
    {
        const char* what;
        ItemStatus before;
        void (*send)(PersonalSpaceUploader& uploader, long item);
        ItemStatus sent; ///< the item's status while the request is open
        ItemStatus after;
        const std::string& prefix;
        bool clearsPage;
    };
    const Request requests[] = {
        {"upload", ItemStatus::Ready, [](PersonalSpaceUploader& uploader, long item) { uploader.uploadItem(item); },
         ItemStatus::Uploading, ItemStatus::Failed, kUploadFailed, false},
        {"delete", ItemStatus::Uploaded, [](PersonalSpaceUploader& uploader, long item) { uploader.removeItem(item); },
         ItemStatus::Uploaded, ItemStatus::Uploaded, kDeleteFailed, false},
        {"page", ItemStatus::Uploaded, [](PersonalSpaceUploader& uploader, long) { uploader.updateUserPage(); },
         ItemStatus::Uploaded, ItemStatus::Uploaded, kPageFailed, true},
    };
    for (const Request& request : requests) {
        for (const Cause& cause : causes) {
            CAPTURE(request.what);
            CAPTURE(cause.what);
            Uploads space;
            const long id = space.addItem("http://a", request.before);
            space.contents->setUserPage({"http://old", "/old.png"});
            const std::size_t logged = TestSupport::loggedLines().size();
            expectWarning(request.prefix + cause.text);
            cause.prepare(space.host);
            CHECK_NOTHROW(request.send(space.uploader, id));
            cause.fail(space.host);
            CHECK(space.status(id) == request.sent);
            CHECK(space.contents->userPage().url == "http://old");
            CHECK(TestSupport::loggedLines().size() == logged);
            space.host.frame();
            CHECK(space.contents->items().count(id) == 1);
            CHECK(space.status(id) == request.after);
            CHECK(space.contents->userPage().url == (request.clearsPage ? "" : "http://old"));
            CHECK(space.contents->userPage().qrIcon == (request.clearsPage ? "" : "/old.png"));
        }
    }
}

TEST_CASE("uploader: texts of the server are logged as UTF-8, percent signs included")
{
    Uploads space;
    space.uploader.uploadItem(space.addItem("http://a"));
    expectWarning(kUploadFailed + "100 %s für\nResponse was : {\"error\":\"100 %s für\"}");
    space.answer(0, {{"error", QString::fromUtf8("100 %s für")}});

    space.uploader.removeItem(space.addItem("http://b", ItemStatus::Uploaded));
    expectWarning(kDeleteFailed + "100 %s für\nResponse was : {\"error\":\"100 %s für\"}");
    space.answer(1, {{"error", QString::fromUtf8("100 %s für")}});
}

TEST_CASE("uploader: the answer for an item that was removed meanwhile does not restore it")
{
    Uploads space;
    const long id = space.addItem("http://a");
    space.uploader.uploadItem(id);
    space.contents->removeItem(id);
    space.answer(0, kYes);
    CHECK(space.contents->items().empty());
}

TEST_CASE("uploader: an answer that arrives after the uploader was destroyed is stored in the contents")
{
    Uploads space;
    auto uploader = std::make_unique<PersonalSpaceUploader>(space.code);
    const long id = space.addItem("http://a");
    uploader->uploadItem(id);
    uploader.reset();
    space.answer(0, kYes);
    CHECK(space.status(id) == ItemStatus::Uploaded);
}

TEST_CASE("uploader: a new code is used by later requests; the answers of open ones are stored for the card they were sent for")
{
    Uploads space;
    const long id = space.addItem("http://a");
    space.uploader.uploadItem(id);
    const auto otherCode = newCode();
    space.uploader.setCode(otherCode);
    space.uploader.updateUserPage();
    REQUIRE(space.commands().size() == 2);
    CHECK(space.commands()[1].value("tessel").toDouble() == double(otherCode));
    space.answer(0, kYes);
    CHECK(space.status(id) == ItemStatus::Uploaded);
}

TEST_CASE("uploader: only an Uploaded item is deleted on the server")
{
    Uploads space;
    for (const auto status : {ItemStatus::Pending, ItemStatus::Ready, ItemStatus::Uploading, ItemStatus::Failed})
        space.uploader.removeItem(space.addItem(("http://" + std::to_string(int(status))).c_str(), status));
    CHECK(space.commands().empty());
    const long id = space.addItem("/x/gone.png", ItemStatus::Uploaded);
    space.uploader.removeItem(id);
    REQUIRE(space.commands().size() == 1);
    CHECK(space.commands()[0] == deleteItemCommand(space.code, "filename", "gone.png"));
}

TEST_CASE("uploader: a confirmed delete makes an item that is still there Ready again, confirmed by the value or the text true")
{
    for (const QJsonObject& yes : {kYes, QJsonObject{{"success", "true"}}}) {
        Uploads space;
        const long id = space.addItem("http://a", ItemStatus::Uploaded);
        space.uploader.removeItem(id);
        CHECK(space.status(id) == ItemStatus::Uploaded);
        space.answer(0, yes);
        CHECK(space.status(id) == ItemStatus::Ready);
    }
}

TEST_CASE("uploader: a delete that is refused at once is logged with the frame, not inside the call")
{
    Uploads space;
    space.host.mediaServer().script = [](const QJsonObject&) { return kNo; };
    space.uploader.removeItem(space.addItem("http://a", ItemStatus::Uploaded));
    CHECK(TestSupport::loggedLines().empty());
    expectWarning(kDeleteFailed + kNoText);
    space.host.frame();
}

TEST_CASE("uploader: of two items made from one file only the last one is deleted on the server")
{
    Uploads space;
    const long first = space.addItem("/x/twin.png", ItemStatus::Uploaded);
    const long second = space.addItem("/y/twin.png", ItemStatus::Uploaded);
    CHECK_FALSE(space.uploader.isLastCopy(first));
    CHECK_FALSE(space.uploader.isLastCopy(second));
    space.uploader.removeItem(first);
    CHECK(space.commands().empty());
    space.contents->removeItem(first);
    CHECK(space.uploader.isLastCopy(second));
    space.uploader.removeItem(second);
    REQUIRE(space.commands().size() == 1);
    CHECK(space.commands()[0] == deleteItemCommand(space.code, "filename", "twin.png"));
}

TEST_CASE("uploader: a twin counts whatever its status, another name or kind makes no twin")
{
    Uploads space;
    const long id = space.addItem("http://a/x.png", ItemStatus::Uploaded);
    space.addItem("/a/x.png", ItemStatus::Uploaded);
    space.addItem("http://a/x.png", ItemStatus::Uploaded, "Another name");
    CHECK(space.uploader.isLastCopy(id));
    space.addItem("http://a/x.png", ItemStatus::Pending);
    CHECK_FALSE(space.uploader.isLastCopy(id));
}

TEST_CASE("uploader: an item alone, or none at all, is the last copy")
{
    Uploads space;
    CHECK(space.uploader.isLastCopy(5));
    CHECK(space.uploader.isLastCopy(space.addItem("http://a")));
}

TEST_CASE("uploader: results are written with a warning only where there is an error")
{
    Uploads space;
    const long id = space.addItem("http://a");
    PersonalSpaceUploader::setContentStatus(ItemStatus::Uploaded, space.code, id, QString());
    CHECK(space.status(id) == ItemStatus::Uploaded);
    expectWarning(kUploadFailed + "why");
    PersonalSpaceUploader::setContentStatus(ItemStatus::Failed, space.code, id, "why");
    CHECK(space.status(id) == ItemStatus::Failed);
    PersonalSpaceUploader::setUserPage({"http://p", "/q"}, space.code, QString());
    CHECK(space.contents->userPage().qrIcon == "/q");
    expectWarning(kPageFailed + "because");
    PersonalSpaceUploader::setUserPage({"http://p", ""}, space.code, "because");
    CHECK(space.contents->userPage().qrIcon.isEmpty());
}

TEST_CASE("uploader: an error is in the log before its result is stored")
{
    Uploads space;
    const long id = space.addItem("http://a");
    std::vector<std::size_t> loggedAtEvent;
    const auto count = [&] { loggedAtEvent.push_back(TestSupport::loggedLines().size()); };
    space.contents->eventAddListener("user-page-changed", count);
    space.contents->eventAddListener("item-status-changed", count);
    expectWarning(kPageFailed + "because");
    PersonalSpaceUploader::setUserPage({}, space.code, "because");
    expectWarning(kUploadFailed + "why");
    PersonalSpaceUploader::setContentStatus(ItemStatus::Failed, space.code, id, "why");
    CHECK(loggedAtEvent == std::vector<std::size_t>{1, 2});
}
