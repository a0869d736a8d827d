#include "commands/CommandDoor.hpp"

#include "HeldStore.hpp"
#include "TwoDoors.hpp"

#include <QFile>

#include <future>

using namespace MediaServer;

namespace
{

const QByteArray kKey = "00112233445566778899aabbccddeeff";
const QByteArray kNextKey = "ffeeddccbbaa99887766554433221100";
const char* const kGetPage = R"({"command":"getuserpage","tessel":7})";

QJsonObject object(const QByteArray& body)
{
    return QJsonDocument::fromJson(body).object();
}

/// The door without sockets.
struct Door
{
    Door() { folder.makeFolder(QStringLiteral("content")); }

    Http::BearerKeys keys(const QByteArray& text)
    {
        folder.write(QStringLiteral("key"), text);
        QFile::setPermissions(folder.path(QStringLiteral("key")), QFile::ReadOwner | QFile::WriteOwner);
        return keysOf(folder.path(QStringLiteral("key")));
    }

    Http::Response post(const QByteArray& authorization = {})
    {
        Http::Request request;
        request.method = "POST";
        request.target = "/";
        request.body = kGetPage;
        if (!authorization.isNull())
            request.headers.emplace_back("Authorization", authorization);
        const auto answer = std::make_shared<std::promise<Http::Response>>();
        door.handle(request, Http::Reply([answer](Http::Response&& response) { answer->set_value(std::move(response)); }));
        return answer->get_future().get();
    }

    static Http::BearerKeys keysOf(const QString& file)
    {
        auto read = Http::BearerKeys::read(file);
        REQUIRE(read);
        return *read;
    }

    Folder folder;
    std::unique_ptr<ItemStore> store = std::move(*ItemStore::open(folder.path(QStringLiteral("items.sqlite"))));
    CommandDoor door{*store, folder.path(QStringLiteral("content")), QStringLiteral("http://museum.example/"), ContentLimits{},
                     [](const std::function<void()>& function) { function(); }};
};

}

TEST_CASE_FIXTURE(TwoDoors, "command door: a page is answered in the language that the command's header asks for")
{
    HttpClient client(commands.port());
    client.send("POST / HTTP/1.1\r\nHost: 127.0.0.1\r\nAccept-Language: fi\r\nContent-Length: "
                + std::to_string(std::string(kGetPage).size()) + "\r\n\r\n" + kGetPage);
    const QJsonObject answer = object(QByteArray::fromStdString(client.receive().value().body));
    CHECK(answer.value(QLatin1String("userpageurl")).toString().endsWith(QLatin1String("?lang=fi")));
}

TEST_CASE_FIXTURE(TwoDoors, "command door: a command that is not understood is answered with JSON and 400")
{
    for (const char* body : {"", "nonsense", "[]", "{\"command\":\"fly\"}", "\"text\"", "\xff\xfe"}) {
        CAPTURE(body);
        const HttpAnswer answer = ask(commands.port(), "POST", "/", body);
        CHECK(answer.status == 400);
        const QJsonObject json = object(QByteArray::fromStdString(answer.body));
        CHECK(json.value(QLatin1String("success")) == QJsonValue(false));
        CHECK_FALSE(json.value(QLatin1String("error")).toString().isEmpty());
    }
}

TEST_CASE_FIXTURE(TwoDoors, "command door: a command that a web page makes a browser send is refused and does nothing")
{
    add(7, "filename", "boat.png");
    const std::string path = page(7);
    for (const char* origin : {"http://evil.example", "null", "http://127.0.0.1", ""}) {
        for (const char* body : {kGetPage, R"({"command":"deleteitem","tessel":7,"filename":"boat.png"})"}) {
            CAPTURE(origin);
            CAPTURE(body);
            HttpClient client(commands.port());
            client.send("POST / HTTP/1.1\r\nHost: 127.0.0.1\r\norigin: " + std::string(origin)
                        + "\r\nContent-Type: text/plain\r\nContent-Length: " + std::to_string(std::string(body).size())
                        + "\r\n\r\n" + body);
            const HttpAnswer answer = client.receive().value();
            CHECK(answer.status == 403);
            CHECK(answer.header("content-type") == "application/json");
            CHECK(answer.header("access-control-allow-origin").empty());
            const QJsonObject json = object(QByteArray::fromStdString(answer.body));
            CHECK(json.size() == 2);
            CHECK(json.value(QLatin1String("success")) == QJsonValue(false));
            CHECK(json.value(QLatin1String("error")).toString()
                  == QLatin1String("Commands are taken from tables, not from web pages: the request has an Origin header."));
        }
    }
    HttpClient client(commands.port());
    client.send("POST / HTTP/1.1\r\nHost: 127.0.0.1\r\nSec-Fetch-Site: cross-site\r\nContent-Length: "
                + std::to_string(std::string(kGetPage).size()) + "\r\n\r\n" + kGetPage);
    CHECK(client.receive().value().status == 403);
    CHECK(files(path).size() == 1);
}

TEST_CASE_FIXTURE(TwoDoors, "command door: it shows no page, and takes commands by POST to its root alone")
{
    const std::string path = page(7);
    CHECK(ask(commands.port(), "GET", path).status == 404);
    CHECK(ask(commands.port(), "POST", path, kGetPage).status == 404);
    const HttpAnswer get = ask(commands.port(), "GET", "/");
    CHECK(get.status == 405);
    CHECK(get.header("allow") == "POST");
    CHECK(ask(commands.port(), "POST", "/?x=1", kGetPage).status == 200);
}

TEST_CASE_FIXTURE(Door, "command door: without keys the commands of every table are accepted")
{
    CHECK(post().status == 200);
    CHECK(post("Bearer anything").status == 200);
}

TEST_CASE_FIXTURE(Door, "command door: with keys a request without one changes nothing and is told what is missing")
{
    door.setKeys(keys(kKey));
    for (const QByteArray& authorization : {QByteArray(), QByteArray("Bearer "), "Bearer " + kNextKey, "Basic " + kKey}) {
        CAPTURE(authorization.toStdString());
        const Http::Response refused = post(authorization);
        CHECK(refused.status == 401);
        CHECK(object(refused.body).value(QLatin1String("success")) == QJsonValue(false));
        CHECK(object(refused.body).value(QLatin1String("error")).toString()
              == QLatin1String("This server takes commands with its key only: give the table the server's key file."));
        CHECK_FALSE(refused.body.contains("userpageurl"));
    }
    CHECK(post("Bearer " + kKey).status == 200);
}

TEST_CASE_FIXTURE(Door, "command door: during a rotation both keys are good, afterwards the new one alone")
{
    door.setKeys(keys(kNextKey + '\n' + kKey + '\n'));
    CHECK(post("Bearer " + kKey).status == 200);
    CHECK(post("Bearer " + kNextKey).status == 200);
    door.setKeys(keys(kNextKey));
    CHECK(post("Bearer " + kKey).status == 401);
    CHECK(post("Bearer " + kNextKey).status == 200);
}

TEST_CASE_FIXTURE(Door, "command door: a file that waits for the database holds no other command up")
{
    folder.write(QStringLiteral("content/boat.png"), "picture");
    HeldStore held(*store);
    const auto answerTo = [this](const QByteArray& body) {
        const auto answer = std::make_shared<std::promise<Http::Response>>();
        door.handle({"POST", "/", body, {}},
                    Http::Reply([answer](Http::Response&& response) { answer->set_value(std::move(response)); }));
        return answer->get_future();
    };
    auto file = answerTo(R"({"command":"additem","tessel":7,"filename":"boat.png"})");
    CHECK(answerTo("nonsense").get().status == 400);
    held.release();
    CHECK(file.get().status == 200);
}
