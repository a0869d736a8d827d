#include "pages/Site.hpp"

#include "TwoDoors.hpp"

#include <doctest/doctest.h>

#include <QImage>
#include <QRegularExpression>

#include <future>

using namespace MediaServer;

namespace
{

/// A person with three items, and the requests of their browser.
struct Visitor : TwoDoors
{
    Visitor()
    {
        add(7, "filename", "boat.png");
        add(7, "filename", "guide.pdf");
        add(7, "url", "https://museum.example/");
        path = page(7);
    }

    /// The key in the form at an address.
    std::string key(const std::string& form)
    {
        const auto found = QRegularExpression(QStringLiteral("name=\"key\" value=\"([0-9a-f]{64})\""))
                               .match(QString::fromStdString(get(form).body));
        return found.captured(1).toStdString();
    }

    HttpAnswer post(const std::string& form, const std::string& body, const std::string& headers)
    {
        HttpClient client(pages.port());
        client.send("POST " + form + " HTTP/1.1\r\nHost: 127.0.0.1\r\n" + headers
                    + "Content-Type: application/x-www-form-urlencoded\r\nContent-Length: " + std::to_string(body.size())
                    + "\r\n\r\n" + body);
        return client.receive().value_or(HttpAnswer{});
    }

    HttpAnswer post(const std::string& form) { return post(form, "key=" + key(form), "Origin: http://127.0.0.1\r\n"); }

    int count() { return int(QString::fromStdString(get(path).body).count(QLatin1String("<li class=\"item "))); }

    /// The address that removes the first file.
    std::string removeFirst()
    {
        std::string file = files(path).at(0);
        return file.replace(file.find("/file/"), 6, "/remove/");
    }

    std::string path;
};

}

TEST_CASE_FIXTURE(Visitor, "site: an item is removed when its question is answered, and the browser is led back to the page")
{
    const std::string form = removeFirst();
    const HttpAnswer question = get(form + "?lang=de");
    CHECK(question.status == 200);
    CHECK(question.body.find("Dies entfernen?") != std::string::npos);
    CHECK(question.body.find("href=\"../.." + path.substr(2) + "?lang=de\"") != std::string::npos);
    CHECK(question.header("referrer-policy") == "same-origin");
    CHECK(question.header("content-security-policy").find("form-action 'self'") != std::string::npos);
    CHECK(count() == 3);
    const std::string keyOfForm = key(form);
    const HttpAnswer done = post(form + "?lang=de", "key=" + keyOfForm, "Origin: http://127.0.0.1\r\n");
    CHECK(done.status == 303);
    CHECK(done.header("location") == "../.." + path.substr(2) + "?lang=de");
    CHECK(count() == 2);
    CHECK(get(form).status == 404);
    // A form that is sent twice.
    CHECK(post(form, "key=" + keyOfForm, "Origin: http://127.0.0.1\r\n").status == 303);
    CHECK(count() == 2);
    // The table's own command finds nothing to do.
    CHECK(command(R"({"command":"deleteitem","tessel":7,"filename":"boat.png"})").value(QLatin1String("success")).toBool());
}

TEST_CASE_FIXTURE(Visitor, "site: everything is removed from one page, and from no other")
{
    add(8, "filename", "boat.png");
    const HttpAnswer done = post(path + "/remove-all");
    CHECK(done.status == 303);
    CHECK(done.header("location") == ".." + path.substr(2));
    CHECK(count() == 0);
    CHECK(files(page(8)).size() == 1);
    CHECK(page(7) == path);
}

TEST_CASE_FIXTURE(Visitor, "site: a page gets a new address, and the old one opens nothing")
{
    const HttpAnswer done = post(path + "/renew");
    CHECK(done.status == 303);
    const std::string renewed = page(7);
    CHECK(renewed != path);
    CHECK(done.header("location") == ".." + renewed.substr(2));
    CHECK(get(path).status == 404);
    CHECK(get(path + "/qr.png").status == 404);
    CHECK(files(renewed).size() == 2);
}

TEST_CASE_FIXTURE(Visitor, "site: what was not sent by the page's own form changes nothing")
{
    const std::string own = "Origin: http://127.0.0.1\r\n";
    for (const std::string& form : {removeFirst(), path + "/remove-all", path + "/renew"}) {
        const std::string good = "key=" + key(form);
        const std::string other = "key=" + key(form == path + "/renew" ? path + "/remove-all" : path + "/renew");
        for (const auto& [body, headers] : {std::pair<std::string, std::string>{"", own},
                                            {"key=", own},
                                            {other, own},
                                            {good, ""},
                                            {good, "Origin: null\r\n"},
                                            {good, "Origin: http://evil.example\r\n"},
                                            {good, own + "Sec-Fetch-Site: cross-site\r\n"},
                                            {"{\"command\":\"deleteitem\"}", own}}) {
            CAPTURE(form);
            CAPTURE(body);
            CAPTURE(headers);
            const HttpAnswer answer = post(form, body, headers);
            CHECK(answer.status == 403);
            CHECK(answer.body.find("Nothing was changed") != std::string::npos);
        }
        for (const char* method : {"PUT", "DELETE", "PATCH"})
            CHECK(ask(pages.port(), method, form, good).status == 405);
        CHECK(get(form).status == 200);
    }
    CHECK(count() == 3);
    CHECK(page(7) == path);
}

TEST_CASE_FIXTURE(Visitor, "site: there are forms only for what a page has")
{
    const std::string theirs = page(8);
    const std::string mine = removeFirst();
    const std::string id = mine.substr(mine.rfind('/') + 1);
    for (const std::string& address :
         {path + "/remove", path + "/remove/", path + "/remove/0" + id, path + "/remove/99", theirs + "/remove/" + id,
          path + "/remove-all/1", path + "/renew/1", std::string("/p/AAAAAAAAAAAAAAAAAAAAAA/renew")}) {
        CAPTURE(address);
        CHECK(get(address).status == 404);
    }
    CHECK(post(theirs + "/remove/" + id, "key=" + key(mine), "Origin: http://127.0.0.1\r\n").status == 403);
    CHECK(count() == 3);
}

TEST_CASE_FIXTURE(Visitor, "site: a file can be downloaded under its name")
{
    std::string file = files(path).at(0);
    const HttpAnswer saved = get(file.replace(file.find("/file/"), 6, "/save/"));
    CHECK(saved.status == 200);
    CHECK(saved.header("content-disposition") == "attachment; filename*=UTF-8''boat.png");
    CHECK((saved.body == picture.toStdString()));
}

TEST_CASE_FIXTURE(Visitor, "site: a browser that has the newest page gets no other, until something changes")
{
    const std::string tag = get(path).header("etag");
    CHECK(tag.size() == 34);
    const auto ask = [&](const std::string& version) {
        HttpClient client(pages.port());
        client.send("GET " + path + " HTTP/1.1\r\nHost: x\r\nIf-None-Match: " + version + "\r\n\r\n");
        return client.receive().value_or(HttpAnswer{});
    };
    CHECK(ask(tag).status == 304);
    CHECK(ask("\"other\"").status == 200);
    post(removeFirst());
    const HttpAnswer changed = ask(tag);
    CHECK(changed.status == 200);
    CHECK(changed.header("etag") != tag);
}

TEST_CASE_FIXTURE(Visitor, "site: pages are in the language that the address or the browser asks for")
{
    HttpClient client(pages.port());
    const std::string finnish = "GET " + path + " HTTP/1.1\r\nHost: x\r\nAccept-Language: fi-FI,en;q=0.5\r\n\r\n";
    client.send(finnish);
    CHECK(client.receive().value().body.find("<html lang=\"fi\">") != std::string::npos);
    CHECK(get(path + "?lang=fr").body.find("<html lang=\"fr\">") != std::string::npos);
    CHECK(get(path + "?lang=sv").body.find("<html lang=\"en\">") != std::string::npos);
    CHECK(get("/none?lang=de").body.find("Hier ist nichts") != std::string::npos);
}

TEST_CASE("site: the logo and the day until which a page is kept are those of the settings")
{
    const Folder folder;
    folder.write(QStringLiteral("logo.svg"), "<svg/>");
    const auto store = ItemStore::open(folder.path(QStringLiteral("items.sqlite")));
    REQUIRE(store);
    const QByteArray page = "/p/" + (*store)->tokenFor(7)->toLatin1();
    SiteSettings settings;
    const auto get = [&](const QByteArray& target) {
        std::promise<Http::Response> answer;
        Site site(**store, folder.path(), QStringLiteral("http://museum.example/"), settings);
        site.handle({"GET", target, {}, {}},
                    Http::Reply([&answer](Http::Response&& response) { answer.set_value(std::move(response)); }));
        return answer.get_future().get();
    };
    CHECK(get(page + "/logo").status == 404);
    settings.logo = folder.path(QStringLiteral("logo.svg"));
    settings.keepDays = 30;
    const Http::Response logo = get(page + "/logo");
    CHECK(logo.status == 200);
    CHECK(logo.contentType == "image/svg+xml");
    const QDate until = QDateTime::currentDateTimeUtc().date().addDays(30);
    // The day may have changed since.
    const auto names = [&](const QDate& day) { return get(page).body.contains(QByteArray::number(day.day()) + ' '); };
    CHECK((names(until) || names(until.addDays(1))));
}

TEST_CASE_FIXTURE(Visitor, "site: everything is downloaded as one archive, and pictures are shown small")
{
    const HttpAnswer all = get(path + "/all.zip");
    CHECK(all.status == 200);
    CHECK(all.header("content-type") == "application/zip");
    CHECK(all.header("content-disposition") == "attachment; filename=\"collection.zip\"");
    CHECK(all.body.find(picture.toStdString()) != std::string::npos);
    CHECK(all.body.find("https://museum.example/") != std::string::npos);
    // A picture that is small already is sent as it is.
    QImage dot(20, 20, QImage::Format_RGB32);
    dot.fill(Qt::red);
    REQUIRE(dot.save(folder.path(QStringLiteral("content/dot.png"))));
    add(7, "filename", "dot.png");
    const std::string file = files(path).at(2);
    const std::string small = std::string(file).replace(file.find("/file/"), 6, "/thumb/");
    CHECK(get(small).body == get(file).body);
    CHECK(QImage::fromData(QByteArray::fromStdString(get(small).body)).size() == dot.size());
    CHECK(get(path).body.find("src=\"" + small.substr(3)) != std::string::npos);
    const std::string guide = files(path).at(1);
    CHECK(get(std::string(guide).replace(guide.find("/file/"), 6, "/thumb/")).status == 404);
    CHECK(get(path + "/thumb/99").status == 404);
    for (const char* address : {"/all.zip", "/thumb/1"})
        CHECK(ask(pages.port(), "POST", path + address, "").status == 405);
}
