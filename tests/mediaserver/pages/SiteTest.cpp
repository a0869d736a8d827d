#include "pages/Site.hpp"

#include "FewerFiles.hpp"
#include "HeldStore.hpp"
#include "OtherConnection.hpp"
#include "QrReader.hpp"
#include "TwoDoors.hpp"

#include <LogCapture.hpp>
#include <doctest/doctest.h>

#include <QFile>
#include <QJsonDocument>

#include <future>
#include <memory>
#include <vector>

using namespace MediaServer;

namespace
{

/// The answer to GET, when it has come.
std::future<Http::Response> answerOf(Site& site, const QByteArray& target)
{
    const auto promise = std::make_shared<std::promise<Http::Response>>();
    site.handle({"GET", target, {}, {}},
                Http::Reply([promise](Http::Response&& response) { promise->set_value(std::move(response)); }));
    return promise->get_future();
}

QByteArray headerOf(const Http::Response& response, const char* name)
{
    for (const auto& header : response.headers)
        if (header.first == name)
            return header.second;
    return {};
}

}

TEST_CASE_FIXTURE(TwoDoors, "site: a person's page shows what was added and nothing of the card")
{
    const std::string path = page(987654321);
    CHECK(path.size() == 3 + 22);
    CHECK(get(path).body.find("Nothing here yet") != std::string::npos);
    add(987654321, "filename", "boat.png");
    add(987654321, "url", "https://museum.example/");
    const HttpAnswer answer = get(path);
    CHECK(answer.status == 200);
    CHECK(answer.header("content-type") == "text/html; charset=utf-8");
    CHECK(answer.header("content-security-policy").find("default-src 'none'") == 0);
    CHECK(answer.header("x-content-type-options") == "nosniff");
    CHECK(answer.header("referrer-policy") == "no-referrer");
    CHECK(answer.header("cache-control") == "private, no-cache");
    CHECK(answer.body.find("2 things you kept") != std::string::npos);
    CHECK(answer.body.find("987654321") == std::string::npos);
    CHECK(get(path + "?from=phone").status == 200);
}

TEST_CASE_FIXTURE(TwoDoors, "site: a file is sent whole, with its type and shut in")
{
    add(7, "filename", "boat.png");
    add(7, "filename", "guide.pdf");
    add(7, "filename", "page.html");
    const auto paths = files(page(7));
    REQUIRE(paths.size() == 3);
    const HttpAnswer boat = get(paths[0]);
    CHECK(boat.status == 200);
    CHECK(boat.header("content-type") == "image/png");
    CHECK(boat.header("x-content-type-options") == "nosniff");
    CHECK(boat.header("content-security-policy").find("sandbox") != std::string::npos);
    CHECK(boat.header("content-disposition") == "inline; filename*=UTF-8''boat.png");
    CHECK((boat.body == picture.toStdString()));
    CHECK(get(paths[1]).header("content-type") == "application/pdf");
    CHECK(get(paths[2]).header("content-type") == "application/octet-stream");
    CHECK(get(paths[2]).header("content-disposition") == "attachment; filename*=UTF-8''page.html");
}

TEST_CASE_FIXTURE(TwoDoors, "site: a file is reached only as an item of that very page")
{
    add(7, "filename", "boat.png");
    add(7, "url", "https://museum.example/");
    const std::string mine = page(7);
    const std::string theirs = page(8);
    const std::string path = files(mine).at(0);
    const std::string id = path.substr(path.rfind('/') + 1);
    REQUIRE(get(path).status == 200);
    for (const std::string& other :
         {theirs + "/file/" + id, mine + "/file/0" + id, mine + "/file/+" + id,
          mine + "/file/" + std::to_string(std::stoi(id) + 1), mine + "/file/99", mine + "/file/-1", mine + "/file/",
          mine + "/file", mine + "/file/boat.png", mine + "/file/99999999999999999999", path + "/",
          path + "/../../../../secret.txt", mine + "/file/..%2f..%2fsecret.txt", mine + "/file/../../secret.txt",
          mine + "/../../etc/passwd", mine + "/file/%2fetc%2fpasswd", mine + "/file/..\\..\\secret.txt",
          mine + "/file/boat.png%00"}) {
        CAPTURE(other);
        CHECK(get(other).status == 404);
    }
    CHECK(command(R"({"command":"deleteitem","tessel":7,"filename":"boat.png"})").value(QLatin1String("success")).toBool());
    CHECK(get(path).status == 404);
}

TEST_CASE_FIXTURE(TwoDoors, "site: a file that was exchanged for a link out of the folder is not sent")
{
    add(7, "filename", "boat.png");
    const std::string path = page(7);
    const std::string file = files(path).at(0);
    const QString boat = folder.path(QStringLiteral("content/boat.png"));
    REQUIRE(QFile::remove(boat));
    REQUIRE(QFile::link(folder.path(QStringLiteral("secret.txt")), boat));
    CHECK(get(file).status == 404);
    CHECK(get(path).body.find("Not available at the moment") != std::string::npos);
}

TEST_CASE_FIXTURE(TwoDoors, "site: the QR code leads to the page")
{
    const QJsonObject answer = command(R"({"command":"getuserpage","tessel":7})");
    const HttpAnswer code = get(page(7) + "/qr.png");
    CHECK(code.status == 200);
    CHECK(code.header("content-type") == "image/png");
    CHECK(answer.value(QLatin1String("qrcodeurl")).toString()
          == answer.value(QLatin1String("userpageurl")).toString() + QLatin1String("/qr.png"));
    CHECK(readQrCode(QByteArray::fromStdString(code.body))
          == answer.value(QLatin1String("userpageurl")).toString().toStdString());
    CHECK(readQrCode(QByteArray::fromStdString(get(page(7) + "/qr.png?lang=fi").body))
          == answer.value(QLatin1String("userpageurl")).toString().toStdString() + "?lang=fi");
}

TEST_CASE_FIXTURE(TwoDoors, "site: HEAD says what GET would, without the body")
{
    add(7, "filename", "boat.png");
    const std::string path = page(7);
    for (const std::string& target : {path, path + "/qr.png", files(path).at(0), std::string("/none")}) {
        CAPTURE(target);
        const HttpAnswer whole = get(target);
        HttpClient client(pages.port());
        client.send(requestText("HEAD", target) + requestText("GET", "/none"));
        const auto head = client.receiveHead();
        REQUIRE(head);
        CHECK(head->status == whole.status);
        CHECK(head->header("content-type") == whole.header("content-type"));
        CHECK(head->header("content-length") == std::to_string(whole.body.size()));
        // Had a body come, it would be read as the next answer.
        const auto next = client.receive();
        REQUIRE(next);
        CHECK(next->status == 404);
    }
}

TEST_CASE_FIXTURE(TwoDoors, "site: unknown addresses get a page that says so")
{
    const std::string token = page(7).substr(3);
    for (const std::string& path :
         {std::string("/x"), std::string("/p"), std::string("/p/"), std::string("/p/7"), std::string("/p/AAAAAAAAAAAAAAAAAAAAAA"),
          "/p/" + token + "/", "/p/" + token + "x", "/p/" + token + "/x", "//p/" + token, "/P/" + token,
          std::string("/favicon.ico"), std::string("/../etc/passwd")}) {
        CAPTURE(path);
        const HttpAnswer answer = get(path);
        CHECK(answer.status == 404);
        CHECK(answer.header("content-type") == "text/html; charset=utf-8");
        CHECK(answer.body.find("There is nothing here") != std::string::npos);
    }
}

TEST_CASE_FIXTURE(TwoDoors,
                  "site: commands that are sent to the visitors' door, in whatever method, are refused and change nothing")
{
    add(7, "filename", "boat.png");
    const std::string path = page(7);
    const std::vector<std::string> before = files(path);
    REQUIRE(before.size() == 1);
    for (const char* method : {"POST", "PUT", "DELETE", "PATCH", "OPTIONS"}) {
        for (const std::string& target : {std::string("/"), std::string("/health"), path, before[0]}) {
            for (const char* body :
                 {R"({"command":"getuserpage","tessel":7})", R"({"command":"deleteitem","tessel":7,"filename":"boat.png"})",
                  R"({"command":"additem","tessel":7,"filename":"guide.pdf"})"}) {
                CAPTURE(method);
                CAPTURE(target);
                const HttpAnswer answer = ask(pages.port(), method, target, body);
                CHECK(answer.status == 405);
                CHECK(answer.header("allow") == "GET, HEAD");
                CHECK(answer.body.find("userpageurl") == std::string::npos);
            }
        }
    }
    CHECK(get("/").status == 404);
    CHECK(files(path) == before);
}

TEST_CASE_FIXTURE(TwoDoors, "site: a page may be read by a browser that comes from another page")
{
    const std::string path = page(7);
    HttpClient client(pages.port());
    client.send("GET " + path + " HTTP/1.1\r\nHost: x\r\nOrigin: http://museum.example\r\n\r\n");
    CHECK(client.receive().value().status == 200);
}

TEST_CASE_FIXTURE(TwoDoors, "site: its health is that of the database")
{
    HttpAnswer answer = get("/health");
    CHECK(answer.status == 200);
    CHECK(answer.body == "ok\n");
    CHECK(ask(pages.port(), "HEAD", "/health").status == 200);
}

TEST_CASE("site: a file that cannot be read now is logged, answered with 500 and shown as not available")
{
    const Folder folder;
    folder.write(QStringLiteral("boat.png"), "picture");
    folder.write(QStringLiteral("guide.pdf"), "%PDF-1.4");
    const auto store = ItemStore::open(folder.path(QStringLiteral("items.sqlite")));
    REQUIRE(store);
    for (const char* name : {"boat.png", "guide.pdf"}) {
        Item item;
        item.kind = ItemKind::File;
        item.value = QLatin1String(name);
        REQUIRE((*store)->add(7, item));
    }
    Site site(**store, folder.path(), QStringLiteral("http://museum.example/"));
    const QByteArray page = "/p/" + (*store)->tokenFor(7)->toLatin1();
    const auto get = [&site](const QByteArray& target) { return answerOf(site, target).get(); };
    const QByteArray file = page + "/file/" + QByteArray::number((*store)->items(7)->front().id);
    REQUIRE(get(page).body.count("Not available") == 0);
    REQUIRE(get(file).status == 200);

    TestSupport::expectWarning("MediaServer # A file could not be opened (boat.png: Too many open files)");
    TestSupport::expectWarning(
        "MediaServer # A page shows files as not available that could not be opened (guide.pdf: Too many open files)");
    const FewerFiles one(1);
    const Http::Response failed = get(file);
    CHECK(failed.status == 500);
    CHECK(failed.body.contains("Nothing is lost"));
    const Http::Response shown = get(page);
    CHECK(shown.status == 200);
    CHECK(shown.body.count("Not available at the moment") == 2);
}

TEST_CASE("site: while the database hangs, what needs none is answered, and requests too many are told to come again")
{
    const Folder folder;
    const auto store = ItemStore::open(folder.path(QStringLiteral("items.sqlite")));
    REQUIRE(store);
    const QByteArray page = "/p/" + (*store)->tokenFor(7)->toLatin1();
    HeldStore held(**store);
    Site site(**store, folder.path(), QStringLiteral("http://museum.example/"), {}, 2);
    auto first = answerOf(site, page);
    auto second = answerOf(site, "/health");
    CHECK(answerOf(site, "/nowhere").get().status == 404);
    const Http::Response refused = answerOf(site, page).get();
    CHECK(refused.status == 503);
    CHECK(refused.contentType.startsWith("text/plain"));
    CHECK(refused.body == "Too many people are here at once. Try again in a few seconds.\n");
    CHECK(headerOf(refused, "Retry-After") == "5");
    held.release();
    CHECK(first.get().status == 200);
    CHECK(second.get().status == 200);
}

TEST_CASE("site: a database that fails is logged once and answered with 503 and when to come again")
{
    const Folder folder;
    const QString file = folder.path(QStringLiteral("items.sqlite"));
    const auto store = ItemStore::open(file);
    REQUIRE(store);
    Site site(**store, folder.path(), QStringLiteral("http://museum.example/"));
    const QByteArray page = "/p/" + (*store)->tokenFor(7)->toLatin1();
    executeBeside(file, QStringLiteral("ALTER TABLE person RENAME TO people"));
    TestSupport::expectWarningStartingWith("MediaServer # A page could not be read from the database (");
    TestSupport::expectWarningStartingWith("MediaServer # The database cannot be read (");
    for (int i = 0; i < 2; ++i) {
        const Http::Response failed = answerOf(site, page).get();
        CHECK(failed.status == 503);
        CHECK(failed.body.contains("Nothing is lost"));
        CHECK(headerOf(failed, "Retry-After") == "5");
    }
    const Http::Response health = answerOf(site, "/health").get();
    CHECK(health.status == 503);
    CHECK(headerOf(health, "Retry-After") == "5");
}
