#include "server/JSONRequests.hpp"

#include "PluginSupport.hpp"
#include "TestHost.hpp"

#include <QJsonArray>
#include <QJsonObject>

#include <doctest/doctest.h>

using PluginTest::kNoService;
using Tavola::PersonalSpaceContents;
using Tavola::UploadableItem;

namespace
{
UploadableItem parse(const QList<QString>& sources, const char* file = "", const char* displayName = "")
{
    PersonalSpaceContents::Item item;
    item.files.sources = sources;
    item.files.file = QString::fromUtf8(file);
    item.files.displayName = QString::fromUtf8(displayName);
    return Tavola::parseFiles(item);
}

bool succeeds(const QJsonValue& success)
{
    return Tavola::isSuccess({{"success", success}});
}

std::string failureOf(folly::Future<QJsonObject>& future)
{
    REQUIRE(future.isReady());
    try {
        (void)std::move(future).get();
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "no failure";
}

/// A service of the right type name and another class.
class OtherService final : public Tavola::ServiceInstance
{
};
}

TEST_CASE("json requests: without a service the future has failed already and nothing is thrown")
{
    TestSupport::TestHost host;
    host.removeMediaServer();
    auto future = Tavola::requestJSON({});
    CHECK(failureOf(future) == kNoService);
}

TEST_CASE("json requests: a service of another kind counts as none")
{
    TestSupport::TestHost host;
    host.removeMediaServer();
    host.tavola().services()->addService("media-server-service", "other", std::make_shared<OtherService>());
    auto future = Tavola::requestJSON({});
    CHECK(failureOf(future) == kNoService);
}

TEST_CASE("json requests: without an application the future has failed already")
{
    auto future = Tavola::requestJSON({});
    CHECK(failureOf(future) == kNoService);
}

TEST_CASE("json requests: the command is passed to the service whole, and its future is returned")
{
    TestSupport::TestHost host;
    const QJsonObject command{{"command", "anything"}, {"number", 7}};
    auto future = Tavola::requestJSON(command);
    REQUIRE(host.mediaServer().commands().size() == 1);
    CHECK(host.mediaServer().commands()[0] == command);
    CHECK_FALSE(future.isReady());
    host.mediaServer().answer(0, {{"success", true}});
    REQUIRE(future.isReady());
    CHECK(std::move(future).get() == QJsonObject{{"success", true}});
}

TEST_CASE("json requests: the first service configured receives the command, whatever its name")
{
    TestSupport::TestHost host;
    const auto second = std::make_shared<TestSupport::FakeMediaServer>();
    host.tavola().services()->addService("media-server-service", "second", second);
    (void)Tavola::requestJSON({{"command", "x"}});
    CHECK(host.mediaServer().commands().size() == 1);
    CHECK(second->commands().empty());
}

TEST_CASE("json requests: a failure of the service is the future's")
{
    TestSupport::TestHost host;
    auto future = Tavola::requestJSON({});
    host.mediaServer().fail(0, "the line is dead");
    CHECK(failureOf(future) == "the line is dead");
}

TEST_CASE("uploadable: the value that is sent for the files of an item, and its key")
{
    struct Row
    {
        const char* what;
        QList<QString> sources;
        const char* file;
        const char* value;
        const char* kind;
    };
    const Row rows[] = {
        {"no file at all", {}, "", "", "url"},
        {"the first source goes before the file", {"/a/first.png", "/a/second.png"}, "/b/file.png", "first.png", "filename"},
        {"the file where there is no source", {}, "/b/file.png", "file.png", "filename"},
        {"the first source, even an empty one", {""}, "/b/file.png", "", "url"},
        {"an absolute path: its last part", {"/media/pictures/a.b/sun flower.jpg"}, "", "sun flower.jpg", "filename"},
        {"a web address keeps its scheme", {"https://example.org/a?b=c#d"}, "", "https://example.org/a?b=c#d", "url"},
        {"a web address without a scheme gets one", {"www.example.org/page"}, "", "http://www.example.org/page", "url"},
        {"a blank stays readable", {"www.example.org/a b"}, "", "http://www.example.org/a b", "url"},
        {"an encoded blank becomes readable", {"https://example.org/a%20b"}, "", "https://example.org/a b", "url"},
        {"umlauts stay readable", {"www.example.org/gr\u00fc\u00dfe"}, "", "http://www.example.org/gr\u00fc\u00dfe", "url"},
        {"a text that is no address stays as it is", {"x y"}, "", "x y", "url"},
        {"a relative path counts as an address", {"docs/a"}, "", "http://docs/a", "url"},
        {"a path into a program's own resources is absolute", {":/pictures/sun.png"}, "", "sun.png", "filename"},
    };
    for (const Row& row : rows) {
        CAPTURE(row.what);
        const auto item = parse(row.sources, row.file, "Sun");
        CHECK(item.value == QString::fromUtf8(row.value));
        CHECK(item.kind == row.kind);
        CHECK(item.displayName == "Sun");
    }
}

TEST_CASE("uploadable: the files beside the main file are not sent")
{
    PersonalSpaceContents::Item item;
    item.files.file = "/b/main.pdf";
    item.files.files = QList<QString>{"/b/first.png", "/b/second.png"};
    item.files.url = "http://example.org/more";
    CHECK(Tavola::parseFiles(item).value == "main.pdf");
}

TEST_CASE("uploadable: a record made by default has no kind")
{
    CHECK(UploadableItem().kind.isEmpty());
}

TEST_CASE("uploadable: equal are those whose three texts are equal")
{
    const UploadableItem item{"a", "b", "url"};
    CHECK(item == UploadableItem{"a", "b", "url"});
    CHECK(item != UploadableItem{"x", "b", "url"});
    CHECK(item != UploadableItem{"a", "x", "url"});
    CHECK(item != UploadableItem{"a", "b", "filename"});
}

TEST_CASE("answers: true and the text true are success, nothing else is")
{
    CHECK(succeeds(true));
    CHECK(succeeds("true"));
    CHECK_FALSE(succeeds(false));
    CHECK_FALSE(succeeds("True"));
    CHECK_FALSE(succeeds("TRUE"));
    CHECK_FALSE(succeeds(" true"));
    CHECK_FALSE(succeeds(1));
    CHECK_FALSE(succeeds("1"));
    CHECK_FALSE(succeeds(QJsonValue::Null));
    CHECK_FALSE(succeeds(QJsonArray{true}));
    CHECK_FALSE(Tavola::isSuccess({}));
}

TEST_CASE("answers: an error without a text is Unknown JSON and the answer on one line")
{
    CHECK(Tavola::getErrorText({{"success", false}}) == "Unknown JSON\nResponse was : {\"success\":false}");
    CHECK(Tavola::getErrorText({}) == "Unknown JSON\nResponse was : {}");
}

TEST_CASE("answers: an error with a text begins with it")
{
    CHECK(Tavola::getErrorText({{"error", QString::fromUtf8("Zu groß")}, {"list", QJsonArray{1, 2}}})
          == QString::fromUtf8("Zu groß\nResponse was : {\"error\":\"Zu groß\",\"list\":[1,2]}"));
    CHECK(Tavola::getErrorText({{"error", ""}}) == "\nResponse was : {\"error\":\"\"}");
}

TEST_CASE("answers: an error that is no text is Unknown JSON")
{
    CHECK(Tavola::getErrorText({{"error", 5}}) == "Unknown JSON\nResponse was : {\"error\":5}");
}
