#include "content/ContentReceiver.hpp"

#include "TwoDoors.hpp"

#include <LogCapture.hpp>

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QUrl>

using namespace MediaServer;

namespace
{

QByteArray hashOf(const QByteArray& content)
{
    return QCryptographicHash::hash(content, QCryptographicHash::Sha256).toHex();
}

/// A table that has files of its own.
struct SendingTable : TwoDoors
{
    QJsonObject announce(const char* name, const QByteArray& content, qint64 tessel = 7)
    {
        return command("{\"command\":\"additem\",\"tessel\":" + QByteArray::number(tessel) + ",\"filename\":\"" + name
                       + "\",\"displayname\":\"Name\",\"sha256\":\"" + hashOf(content)
                       + "\",\"size\":" + QByteArray::number(content.size()) + "}");
    }

    static std::string target(const char* name, const QByteArray& content, qint64 from)
    {
        return ("/content/" + QByteArray(name) + "?sha256=" + hashOf(content) + "&size=" + QByteArray::number(content.size())
                + "&from=" + QByteArray::number(from))
            .toStdString();
    }

    HttpAnswer put(const char* name, const QByteArray& content, qint64 from)
    {
        return ask(commands.port(), "PUT", target(name, content, from), content.mid(int(from), int(kPiece)).toStdString());
    }

    HttpAnswer state(const char* name, const QByteArray& content)
    {
        return ask(commands.port(), "GET", target(name, content, 0));
    }

    /// Everything, piece after piece; the last answer.
    HttpAnswer putAll(const char* name, const QByteArray& content)
    {
        HttpAnswer answer;
        for (qint64 from = 0; from < content.size(); from += kPiece)
            answer = put(name, content, from);
        return answer;
    }

    QByteArray file(const char* name) const
    {
        QFile file(folder.path(QStringLiteral("content/") + QString::fromUtf8(name)));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    int incoming() const { return QDir(folder.path(QStringLiteral("content/.incoming"))).entryList(QDir::Files).size(); }

    QByteArray map = QByteArray("map ").repeated(800); // 3200 bytes, four pieces
};

QJsonObject answerObject(const HttpAnswer& answer)
{
    return QJsonDocument::fromJson(QByteArray::fromStdString(answer.body)).object();
}

std::string member(const HttpAnswer& answer, const char* name)
{
    return answerObject(answer).value(QLatin1String(name)).toString().toStdString();
}

std::string errorOf(const QJsonObject& answer)
{
    CHECK(answer.value(QLatin1String("success")) == QJsonValue(false));
    return answer.value(QLatin1String("error")).toString().toStdString();
}

}

TEST_CASE_FIXTURE(SendingTable,
                  "content receiver: an item whose file comes later succeeds at once, is coming on the page, and then is there")
{
    const QJsonObject answer = announce("map.png", map);
    CHECK(answer.value(QLatin1String("success")).toBool());
    CHECK(answer.value(QLatin1String("content")).toString() == QLatin1String("coming"));
    const std::string path = page(7);
    CHECK(get(path).body.find("Coming: it is on its way from the table") != std::string::npos);
    CHECK(files(path).empty());

    CHECK(answerObject(state("map.png", map)).value(QLatin1String("received")).toInt(-1) == 0);
    for (const qint64 from : {0, 1000, 2000}) {
        const HttpAnswer piece = put("map.png", map, from);
        CHECK(piece.status == 200);
        CHECK(member(piece, "state") == "coming");
        CHECK(answerObject(piece).value(QLatin1String("received")).toInt() == from + 1000);
        CHECK(answerObject(piece).value(QLatin1String("piece")).toInt() == kPiece);
        CHECK(file("map.png").isEmpty());
    }
    CHECK(member(put("map.png", map, 3000), "state") == "there");
    CHECK(file("map.png") == map);
    CHECK(incoming() == 0);
    REQUIRE(files(path).size() == 1);
    CHECK(get(files(path)[0]).body == map.toStdString());
    CHECK(get(path).body.find("Coming") == std::string::npos);

    // Known from now on: nothing is to be sent for the next person.
    const QJsonObject second = announce("map.png", map, 8);
    CHECK(second.value(QLatin1String("success")).toBool());
    CHECK_FALSE(second.contains(QLatin1String("content")));
}

TEST_CASE_FIXTURE(SendingTable,
                  "content receiver: a piece that comes twice, or too early, changes nothing, and says where to go on")
{
    announce("map.png", map);
    put("map.png", map, 0);
    CHECK(answerObject(put("map.png", map, 0)).value(QLatin1String("received")).toInt() == 1000);
    CHECK(answerObject(put("map.png", map, 2000)).value(QLatin1String("received")).toInt() == 1000);
    CHECK(answerObject(state("map.png", map)).value(QLatin1String("received")).toInt() == 1000);
    put("map.png", map, 1000);
    put("map.png", map, 2000);
    CHECK(member(put("map.png", map, 3000), "state") == "there");
    CHECK(member(put("map.png", map, 3000), "state") == "there");
    CHECK(file("map.png") == map);
}

TEST_CASE_FIXTURE(SendingTable,
                  "content receiver: a file of the folder with the same name and another content is refused, and stays")
{
    // The first comparison needs its hash, which is read first; a file of another size needs none.
    const QByteArray other = QByteArray(picture).replace('p', 'q');
    for (const QByteArray& content : {other, map}) {
        CHECK(errorOf(announce("boat.png", content))
              == "The content folder has another file \"boat.png\": give the table's file a name of its own.");
        CHECK(state("boat.png", content).status == 409);
        CHECK(put("boat.png", content, 0).status == 409);
    }
    CHECK(files(page(7)).empty());
    CHECK(file("boat.png") == picture);

    const QJsonObject same = announce("boat.png", picture);
    CHECK(same.value(QLatin1String("success")).toBool());
    CHECK_FALSE(same.contains(QLatin1String("content")));
    CHECK(member(state("boat.png", picture), "state") == "there");
}

TEST_CASE_FIXTURE(SendingTable, "content receiver: a file that was replaced by hand is read anew")
{
    CHECK(announce("boat.png", picture).value(QLatin1String("success")).toBool());
    const QByteArray other = QByteArray(picture).replace('p', 'q');
    QFile::remove(folder.path(QStringLiteral("content/boat.png")));
    folder.write(QStringLiteral("content/boat.png"), other);
    CHECK_FALSE(announce("boat.png", picture).value(QLatin1String("success")).toBool());
    CHECK(announce("boat.png", other).value(QLatin1String("success")).toBool());
}

TEST_CASE_FIXTURE(SendingTable, "content receiver: while one file is on its way, another one of the same name is refused")
{
    announce("map.png", map);
    const QByteArray other = map + 'x';
    CHECK(errorOf(announce("map.png", other, 8))
          == "Another file \"map.png\" is on its way: give the table's file a name of its own.");
    CHECK(put("map.png", other, 0).status == 404);
    CHECK(announce("map.png", map, 8).value(QLatin1String("content")).toString() == QLatin1String("coming"));
}

TEST_CASE_FIXTURE(SendingTable, "content receiver: only what an item waits for is accepted, of known types and within the size")
{
    CHECK(put("map.png", map, 0).status == 404);
    CHECK(state("map.png", map).status == 404);
    CHECK(incoming() == 0);
    CHECK(errorOf(announce("tool.exe", map)) == "\"tool.exe\" is of no type that the media server takes from tables.");
    CHECK(errorOf(announce("page2.html", map)) == "\"page2.html\" is of no type that the media server takes from tables.");
    CHECK(errorOf(announce("large.png", QByteArray(4'000'001, 'l')))
          == "\"large.png\" has 4000001 bytes; the media server takes 4000000 at most from tables (--max-content).");
    CHECK(announce("fits.png", QByteArray(4'000'000, 'l')).value(QLatin1String("success")).toBool());
    CHECK_FALSE(announce("../up.png", map).value(QLatin1String("success")).toBool());
    CHECK_FALSE(announce(".hidden.png", map).value(QLatin1String("success")).toBool());
    CHECK(files(page(7)).empty());
}

TEST_CASE_FIXTURE(SendingTable, "content receiver: addresses that make no sense are refused")
{
    announce("map.png", map);
    const std::string hash = hashOf(map).toStdString();
    for (const std::string& target :
         {std::string("/content/map.png"), "/content/map.png?sha256=" + hash,
          std::string("/content/map.png?size=3200&sha256=abc"), "/content/map.png?size=03200&sha256=" + hash,
          "/content/map.png?size=-1&sha256=" + hash, "/content/map.png?size=3200&from=-1&sha256=" + hash,
          "/content/?size=3200&sha256=" + hash, "/content/..%2Fmap.png?size=3200&sha256=" + hash,
          "/content/.map.png?size=3200&sha256=" + hash}) {
        CAPTURE(target);
        CHECK(ask(commands.port(), "PUT", target, "x").status == 400);
        CHECK(ask(commands.port(), "GET", target).status == 400);
    }
    const std::string good = this->target("map.png", map, 0);
    const HttpAnswer wrong = ask(commands.port(), "DELETE", good);
    CHECK(wrong.status == 405);
    CHECK(wrong.header("allow") == "GET, PUT");
    // A web page in a browser of the tables' network.
    HttpClient client(commands.port());
    client.send("PUT " + good + " HTTP/1.1\r\nHost: 127.0.0.1\r\nOrigin: http://evil.example\r\nContent-Length: 1\r\n\r\nx");
    CHECK(client.receive().value().status == 403);
    CHECK(put("map.png", map.left(3199) + "??", 0).status == 404);
    CHECK(ask(commands.port(), "PUT", good, std::string(3201, 'm')).status == 400);
    CHECK(incoming() == 0);
}

TEST_CASE_FIXTURE(SendingTable, "content receiver: content that is not what was announced is dropped, and may come again")
{
    announce("map.png", map);
    const QByteArray spoilt = QByteArray(map).replace("map", "MAP");
    for (qint64 from = 0; from < 3000; from += kPiece)
        (void)ask(commands.port(), "PUT", target("map.png", map, from), spoilt.mid(int(from), int(kPiece)).toStdString());
    CHECK(ask(commands.port(), "PUT", target("map.png", map, 3000), spoilt.mid(3000).toStdString()).status == 422);
    CHECK(file("map.png").isEmpty());
    CHECK(incoming() == 0);
    CHECK(member(putAll("map.png", map), "state") == "there");
    CHECK(file("map.png") == map);
}

TEST_CASE_FIXTURE(SendingTable, "content receiver: a name with any letters arrives")
{
    const char* const name = "Käsityö & 100%+.png";
    CHECK(announce(name, map).value(QLatin1String("success")).toBool());
    const QByteArray encoded = QUrl::toPercentEncoding(QString::fromUtf8(name));
    CHECK(member(putAll(encoded.constData(), map), "state") == "there");
    CHECK(file(name) == map);
}

TEST_CASE_FIXTURE(SendingTable, "content receiver: a content folder that cannot be written expects nothing from tables")
{
    const QString aside = folder.path(QStringLiteral("content/.incoming"));
    folder.write(QStringLiteral("content/.incoming"), "a file, no folder");
    CHECK(errorOf(announce("map.png", map)) == "There is no file \"map.png\" in the content folder.");
    REQUIRE(QFile::remove(aside));
    CHECK(announce("map.png", map).value(QLatin1String("success")).toBool());
    REQUIRE(QDir().rmdir(aside));
    TestSupport::expectWarning("MediaServer # Content of a table could not be written (No such file or directory)");
    CHECK(put("map.png", map, 0).status == 507);
}
