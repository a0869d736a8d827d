#include "commands/CommandHandler.hpp"

#include "FewerFiles.hpp"
#include "Folder.hpp"
#include "content/ContentFolder.hpp"
#include "items/ItemStore.hpp"

#include <JsonError.hpp>
#include <LogCapture.hpp>
#include <Patience.hpp>

#include <doctest/doctest.h>

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSqlDatabase>
#include <QSqlQuery>

#include <condition_variable>
#include <functional>
#include <future>
#include <limits>
#include <mutex>

using namespace MediaServer;

namespace
{

/// The answer, on whose way everything runs on the store's thread.
CommandAnswer answerOf(CommandHandler& handler, const QByteArray& body, const QByteArray& acceptLanguage = {})
{
    const auto promise = std::make_shared<std::promise<CommandAnswer>>();
    handler.handle(
        body, [](const std::function<void()>& function) { function(); },
        [promise](const CommandAnswer& answer) { promise->set_value(answer); }, acceptLanguage);
    return promise->get_future().get();
}

/// The members of an answer.
QJsonObject jsonOf(const CommandAnswer& answer)
{
    return QJsonDocument::fromJson(answer.json).object();
}

struct CommandHandlerFixture
{
    CommandHandlerFixture()
    {
        folder.makeFolder(QStringLiteral("content"));
        folder.write(QStringLiteral("content/boat.png"), "picture");
        folder.write(QStringLiteral("secret.txt"), "secret");
        REQUIRE(store);
    }

    CommandAnswer handle(const QByteArray& body) { return answerOf(handler, body); }

    /// The error of a command that has to fail with that status.
    std::string errorOf(const QByteArray& body, int status)
    {
        const CommandAnswer answer = handle(body);
        CHECK(answer.httpStatus == status);
        CHECK(jsonOf(answer).value(QLatin1String("success")) == QJsonValue(false));
        return jsonOf(answer).value(QLatin1String("error")).toString().toStdString();
    }

    bool succeeds(const QByteArray& body)
    {
        const CommandAnswer answer = handle(body);
        return answer.httpStatus == 200 && jsonOf(answer).value(QLatin1String("success")) == QJsonValue(true);
    }

    std::size_t count(qint64 tessel) { return (*store)->items(tessel)->size(); }

    Folder folder;
    Result<std::unique_ptr<ItemStore>> store = ItemStore::open(folder.path(QStringLiteral("items.sqlite")));
    ContentFolder content{folder.path(QStringLiteral("content"))};
    CommandHandler handler{**store, content, nullptr, PageAddresses(QStringLiteral("https://museum.example/table"))};
};

}

TEST_CASE_FIXTURE(CommandHandlerFixture,
                  "command handler: the page opens in the first language that the command asks for, if pages have it")
{
    const QByteArray ask = R"({"command":"getuserpage","tessel":7})";
    const QString page = jsonOf(handle(ask)).value(QLatin1String("userpageurl")).toString();
    struct Row
    {
        const char* acceptLanguage;
        const char* suffix;
    };
    const Row rows[] = {{"", ""},       {"de", "?lang=de"}, {"fr-ch, de;q=0.5", "?lang=fr"}, {"FI;q=1", "?lang=fi"},
                        {"sv, de", ""}, {"*", ""}};
    for (const Row& row : rows) {
        CAPTURE(row.acceptLanguage);
        const QJsonObject answer = jsonOf(answerOf(handler, ask, row.acceptLanguage));
        CHECK(answer.value(QLatin1String("userpageurl")).toString() == page + QLatin1String(row.suffix));
        CHECK(answer.value(QLatin1String("qrcodeurl")).toString() == page + QLatin1String("/qr.png") + QLatin1String(row.suffix));
        CHECK(answer.size() == 3);
    }
}

TEST_CASE_FIXTURE(CommandHandlerFixture, "command handler: getuserpage answers the page's address and that of its QR code")
{
    const QJsonObject answer = jsonOf(handle(R"({"command":"getuserpage","tessel":1234567})"));
    CHECK(answer.value(QLatin1String("success")) == QJsonValue(true));
    const QString page = answer.value(QLatin1String("userpageurl")).toString();
    CHECK(page == QLatin1String("https://museum.example/table/p/") + *(*store)->tokenFor(1234567));
    CHECK(answer.value(QLatin1String("qrcodeurl")).toString() == page + QLatin1String("/qr.png"));
    CHECK_FALSE(page.contains(QLatin1String("1234567")));
    CHECK(jsonOf(handle(R"({"command":"getuserpage","tessel":1234567})")) == answer);
    CHECK(jsonOf(handle(R"({"command":"getuserpage","tessel":1234568})")) != answer);
}

TEST_CASE_FIXTURE(CommandHandlerFixture, "command handler: links and files are added once and deleted")
{
    CHECK(succeeds(R"({"command":"additem","tessel":7,"systemname":"Undefined","url":"https://a.example/","displayname":"A"})"));
    CHECK(succeeds(R"({"command":"additem","tessel":7,"systemname":"Undefined","url":"https://a.example/","displayname":"A2"})"));
    CHECK(succeeds(R"({"command":"additem","tessel":7,"systemname":"Undefined","filename":"boat.png","displayname":"Boat"})"));
    const auto items = *(*store)->items(7);
    REQUIRE(items.size() == 2);
    CHECK(items[0].displayName == QLatin1String("A2"));
    CHECK(items[1].kind == ItemKind::File);
    CHECK(items[1].systemName == QLatin1String("Undefined"));

    CHECK(succeeds(R"({"command":"deleteitem","tessel":7,"systemname":"Undefined","url":"https://a.example/"})"));
    CHECK(count(7) == 1);
    // Gone is gone: another table, or the owner on the page, may have removed it first.
    CHECK(succeeds(R"({"command":"deleteitem","tessel":7,"systemname":"Undefined","url":"https://a.example/"})"));
    CHECK(count(7) == 1);
}

TEST_CASE_FIXTURE(CommandHandlerFixture, "command handler: a file may be deleted after it has left the content folder")
{
    REQUIRE(succeeds(R"({"command":"additem","tessel":7,"filename":"boat.png"})"));
    REQUIRE(QFile::remove(folder.path(QStringLiteral("content/boat.png"))));
    CHECK(succeeds(R"({"command":"deleteitem","tessel":7,"filename":"boat.png"})"));
}

TEST_CASE_FIXTURE(CommandHandlerFixture, "command handler: files outside the content folder are not added")
{
    CHECK(errorOf(R"({"command":"additem","tessel":7,"filename":"gone.png"})", 200)
          == "There is no file \"gone.png\" in the content folder.");
    for (const char* name : {"../secret.txt", "/etc/passwd", "..\\\\secret.txt", "boat.png\\u0000.txt", "..", "./boat.png"}) {
        CAPTURE(name);
        const QByteArray body = QByteArray(R"({"command":"additem","tessel":7,"filename":")") + name + "\"}";
        CHECK(errorOf(body, 200).find("is not the bare name of a file") != std::string::npos);
    }
    CHECK(count(7) == 0);
}

TEST_CASE_FIXTURE(CommandHandlerFixture, "command handler: addresses that are not of the web are not added")
{
    for (const char* url : {"javascript:alert(1)", "data:text/html,x", "file:///etc/passwd", "boat.png"}) {
        CAPTURE(url);
        const QByteArray body = QByteArray(R"({"command":"additem","tessel":7,"url":")") + url + "\"}";
        CHECK(errorOf(body, 200) == "\"" + std::string(url) + "\" is not a web address that begins with http:// or https://.");
    }
    CHECK(count(7) == 0);
}

TEST_CASE_FIXTURE(CommandHandlerFixture, "command handler: what is not understood is answered with the reason")
{
    struct Row
    {
        const char* body;
        std::string error;
    };
    const Row rows[] = {
        {"", "The request is not JSON: " + TestSupport::jsonError("") + " at byte 0."},
        {"{\"command\":", "The request is not JSON: " + TestSupport::jsonError("{\"command\":") + " at byte 11."},
        {"[1]", "The request has to be a JSON object."},
        {"{}", "\"command\" is missing."},
        {R"({"command":5,"tessel":7})", "\"command\" is missing."},
        {R"({"command":"GetUserPage","tessel":7})",
         "The command \"GetUserPage\" is not known. Known are \"getuserpage\", \"additem\" and \"deleteitem\"."},
        {R"({"command":"getuserpage"})", "\"tessel\" has to be a whole number of 64 bits."},
        {R"({"command":"getuserpage","tessel":"7"})", "\"tessel\" has to be a whole number of 64 bits."},
        {R"({"command":"getuserpage","tessel":7.5})", "\"tessel\" has to be a whole number of 64 bits."},
        {R"({"command":"getuserpage","tessel":9223372036854775808})", "\"tessel\" has to be a whole number of 64 bits."},
        {R"({"command":"additem","tessel":7})", "Exactly one of \"url\" and \"filename\" is needed."},
        {R"({"command":"additem","tessel":7,"url":"https://a.example","filename":"boat.png"})",
         "Exactly one of \"url\" and \"filename\" is needed."},
        {R"({"command":"additem","tessel":7,"url":""})", "\"url\" has to be a text that is not empty."},
        {R"({"command":"additem","tessel":7,"filename":5})", "\"filename\" has to be a text that is not empty."},
        {R"({"command":"additem","tessel":7,"url":"https://a.example","displayname":5})", "\"displayname\" has to be a text."},
    };
    for (const Row& row : rows) {
        CAPTURE(row.body);
        CHECK(errorOf(row.body, 400) == row.error);
    }
    CHECK(count(7) == 0);
}

TEST_CASE_FIXTURE(CommandHandlerFixture, "command handler: cards above 2^53 are told apart")
{
    REQUIRE(succeeds(R"({"command":"additem","tessel":9007199254740993,"filename":"boat.png"})"));
    CHECK(count(9007199254740993) == 1);
    CHECK(count(9007199254740992) == 0);
    REQUIRE(succeeds(R"({"command":"additem","tessel":-9223372036854775808,"filename":"boat.png"})"));
    CHECK(count(std::numeric_limits<qint64>::min()) == 1);
}

TEST_CASE_FIXTURE(CommandHandlerFixture, "command handler: a failing database is logged and answers without details")
{
    {
        QSqlDatabase database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("beside"));
        database.setDatabaseName(folder.path(QStringLiteral("items.sqlite")));
        REQUIRE(database.open());
        REQUIRE(QSqlQuery(database).exec(QStringLiteral("DROP TABLE item")));
    }
    QSqlDatabase::removeDatabase(QStringLiteral("beside"));
    TestSupport::expectWarningStartingWith("MediaServer # additem failed in the database (");
    CHECK(errorOf(R"({"command":"additem","tessel":7,"filename":"boat.png"})", 500)
          == "The media server could not reach its database; nothing was changed. Try again later.");
}

TEST_CASE_FIXTURE(CommandHandlerFixture, "command handler: a file that cannot be read now is logged and not said to be missing")
{
    REQUIRE(succeeds(R"({"command":"getuserpage","tessel":7})"));
    TestSupport::expectWarning("MediaServer # A file could not be opened (boat.png: Too many open files)");
    {
        const FewerFiles one(1);
        CHECK(errorOf(R"({"command":"additem","tessel":7,"filename":"boat.png"})", 500)
              == "The media server cannot read \"boat.png\" at the moment. Try again later.");
    }
    CHECK(count(7) == 0);
    CHECK(succeeds(R"({"command":"additem","tessel":7,"filename":"boat.png"})"));
}

TEST_CASE_FIXTURE(CommandHandlerFixture, "command handler: a person has so many items and no more, until one is removed")
{
    CommandHandler small(**store, content, nullptr, PageAddresses(QStringLiteral("https://museum.example/table")), 2);
    const auto add = [&](int tessel, int page) {
        return answerOf(
            small,
            QStringLiteral(R"({"command":"additem","tessel":%1,"url":"https://a.example/%2"})").arg(tessel).arg(page).toUtf8());
    };
    CHECK(jsonOf(add(7, 1)).value(QLatin1String("success")).toBool());
    CHECK(jsonOf(add(7, 2)).value(QLatin1String("success")).toBool());
    const CommandAnswer refused = add(7, 3);
    CHECK(refused.httpStatus == 200);
    CHECK(jsonOf(refused).value(QLatin1String("error")).toString()
          == QLatin1String("This person has 2 items already, which is the most a page can have: remove one first."));
    CHECK(count(7) == 2);
    // What is there already may be sent again, and others have room of their own.
    CHECK(jsonOf(add(7, 2)).value(QLatin1String("success")).toBool());
    CHECK(jsonOf(add(8, 3)).value(QLatin1String("success")).toBool());
    const CommandAnswer removed = answerOf(small, R"({"command":"deleteitem","tessel":7,"url":"https://a.example/1"})");
    CHECK(jsonOf(removed).value(QLatin1String("success")).toBool());
    CHECK(jsonOf(add(7, 3)).value(QLatin1String("success")).toBool());
}

TEST_CASE_FIXTURE(CommandHandlerFixture,
                  "command handler: commands that are given together are each answered with what is in the store by then")
{
    constexpr int kCommands = 50;
    std::mutex mutex;
    std::condition_variable changed;
    int succeeded = 0;
    int refused = 0;
    CommandHandler small(**store, content, nullptr, PageAddresses(QStringLiteral("https://museum.example/table")), 40);
    for (int i = 0; i < kCommands; ++i) {
        small.handle(
            QStringLiteral(R"({"command":"additem","tessel":7,"url":"https://a.example/%1"})").arg(i).toUtf8(),
            [](const std::function<void()>& function) { function(); },
            [&](const CommandAnswer& answer) {
                const std::lock_guard<std::mutex> guard(mutex);
                ++(jsonOf(answer).value(QLatin1String("success")).toBool() ? succeeded : refused);
                changed.notify_one();
            });
    }
    std::unique_lock<std::mutex> lock(mutex);
    CHECK(changed.wait_for(lock, TestSupport::kPatience, [&] { return succeeded + refused == kCommands; }));
    CHECK(succeeded == 40);
    CHECK(refused == 10);
    CHECK(count(7) == 40);
}
