#include "presentation/Presentation.hpp"

#include "Folder.hpp"

#include <JsonError.hpp>
#include <LogCapture.hpp>

#include <doctest/doctest.h>

#include <QFile>
#include <QJsonArray>

using namespace Host;

using TestSupport::expectWarning;

namespace
{
/// A presentation of its own folder.
class Written
{
public:
    explicit Written(const QByteArray& json) { m_file = m_folder.write(QStringLiteral("presentation.json"), json); }

    Folder& folder() { return m_folder; }
    /// Announces the warning that costs `place`.
    /// `position`: ":LINE:COLUMN" where it is told.
    Written& skips(const char* place, const QString& why, const char* position = "")
    {
        expectWarning("Presentation # " + m_file.toStdString() + position + ": " + place + ": " + why.toStdString()
                      + "; it is skipped");
        return *this;
    }
    /// How every warning of `place` begins.
    std::string told(const char* place) const { return "Presentation # " + m_file.toStdString() + ": " + place + ": "; }
    Presentation load()
    {
        QString error;
        const auto presentation = Presentation::load(m_folder.path(), error);
        REQUIRE_MESSAGE(presentation, error.toStdString());
        CHECK(error.isEmpty());
        return *presentation;
    }
    QString error()
    {
        QString error;
        CHECK_FALSE(Presentation::load(m_folder.path(), error));
        REQUIRE(error.startsWith(m_file));
        return error.mid(m_file.size());
    }

private:
    Folder m_folder;
    QString m_file;
};
}

TEST_CASE("presentation: everything that may stand in one is read")
{
    Written written(R"({
        "title": "Two rooms",
        "page": {"museum": "Two rooms"},
        "table": {"width": 3840, "height": 2160, "pixelPitchMm": 0.4, "keyboardLayout": "fi", "language": "pt-BR", "fit": "stretch", "reducedMotion": true, "pictureMegabytes": 64, "decodedMegabytes": 32, "paintingThreads": 3},
        "styleSheets": ["look/rooms.css"],
        "plugins": ["one", "lib/two.so"],
        "people": "people.csv",
        "database": "postgres://tavola@db/tavola",
        "services": {"media-server-service": [{"name": "house", "address": "http://127.0.0.1:8180/", "timeoutSeconds": 2.5}, {"address": "https://museum.example"}]},
        "cards": [1001, 0, "18446744073709551615"],
        "closeTemporaryAfterSeconds": 30, "closeLiftedAfterSeconds": 20, "idleAfterSeconds": 90, "tidyAfterSeconds": 70,
        "widgets": [{"component": "picture", "id": "map", "classes": ["large"], "attributes": {"source": {"file": "media/map.png"}, "location": [1, 2.50]}}]
    })");
    const QString sheet = written.folder().write(QStringLiteral("look/rooms.css"), "");
    const QString people = written.folder().write(QStringLiteral("people.csv"), "");
    const QString map = written.folder().write(QStringLiteral("media/map.png"), "");

    const Presentation presentation = written.load();
    CHECK(presentation.folder == written.folder().path());
    CHECK(presentation.title == "Two rooms");
    CHECK(presentation.sizePx.x == 3840.f);
    CHECK(presentation.sizePx.y == 2160.f);
    CHECK(presentation.pixelPitchMm == 0.4f);
    CHECK(presentation.keyboardLayout == "fi");
    CHECK(presentation.language == "pt-br");
    CHECK(presentation.languageFolders.isEmpty());
    CHECK(presentation.fit == ScreenFit::Stretch);
    CHECK(presentation.pictureMegabytes == 64);
    CHECK(presentation.decodedMegabytes == 32);
    CHECK(presentation.paintingThreads == 3);
    CHECK(presentation.reducedMotion);
    CHECK(presentation.styleSheets == QStringList{sheet});
    CHECK(presentation.plugins == QStringList{QStringLiteral("one"), written.folder().path(QStringLiteral("lib/two.so"))});
    CHECK(presentation.peopleFile == people);
    CHECK(presentation.database == "postgres://tavola@db/tavola");
    REQUIRE(presentation.mediaServers.size() == 2);
    CHECK(presentation.mediaServers[0].name == "house");
    CHECK(presentation.mediaServers[0].address == "http://127.0.0.1:8180/");
    CHECK(presentation.mediaServers[0].timeoutSeconds == 2.5);
    CHECK(presentation.mediaServers[1].timeoutSeconds == 10.0);
    CHECK(presentation.cards == std::vector<unsigned long>{1001, 0, 18446744073709551615ul});
    CHECK(presentation.care.closeAfterSeconds == 30.f);
    CHECK(presentation.care.closeLiftedAfterSeconds == 20.f);
    CHECK(presentation.care.idleAfterSeconds == 90.f);
    CHECK(presentation.care.tidyAfterSeconds == 70.f);
    REQUIRE(presentation.widgets.size() == 1);
    CHECK(presentation.widgets[0].component == "picture");
    const QJsonArray location{QJsonObject{{"number", "1"}}, QJsonObject{{"number", "2.50"}}}; // with their digits
    CHECK(presentation.widgets[0].properties
          == QJsonObject{
              {"id", "map"},
              {"classes", QJsonArray{"large"}},
              {"attributes", QJsonObject{{"source", map}, {"location", location}}},
              {"places", QJsonObject{{"source", "widgets[0].attributes.source"}, {"location", "widgets[0].attributes.location"}}},
              {"file", written.folder().path(QStringLiteral("presentation.json"))}});
}

TEST_CASE("presentation: texts in languages lie beside it, or in the folders that it names")
{
    Written beside("{}");
    beside.folder().write("languages/de.json", "{}");
    CHECK(beside.load().languageFolders == QStringList{beside.folder().path("languages")});
    CHECK(beside.load().language == "en");

    Written named(R"({"languages": ["../x/none", "words", 5], "table": {"language": "german"}})");
    named.folder().write("words/de.json", "{}");
    named.folder().write("languages/de.json", "{}");
    const QString none = QDir::cleanPath(named.folder().path("../x/none"));
    named.skips("languages[0]", "there is no folder " + none)
        .skips("languages[2]", "there is no folder " + named.folder().path());
    named.skips("table.language", "expected the tag of a language, such as de or pt-BR");
    const Presentation presentation = named.load();
    CHECK(presentation.languageFolders == QStringList{named.folder().path("words")});
    CHECK(presentation.language == "en");
}

TEST_CASE("presentation: the path of the file itself will do as well")
{
    Written written(R"({"title": "By file"})");
    QString error;
    const auto presentation = Presentation::load(written.folder().path(QStringLiteral("presentation.json")), error);
    REQUIRE(presentation);
    CHECK(presentation->title == "By file");
    CHECK(presentation->folder == written.folder().path());
}

TEST_CASE("presentation: an empty object is a presentation of nothing")
{
    const Presentation presentation = Written("{}").load();
    CHECK(presentation.title.isEmpty());
    CHECK(presentation.sizePx.x == 1920.f);
    CHECK(presentation.sizePx.y == 1080.f);
    CHECK(presentation.widgets.empty());
    CHECK(presentation.mediaServers.empty());
}

TEST_CASE("presentation: a file that is no JSON is refused with line and column")
{
    struct Row
    {
        QByteArray json;
        std::string place;
        std::string ownReason; ///< empty where Qt's reason is told
    };
    const Row rows[] = {
        {"", ":1:1: ", {}},
        {"{\n  \"title\": ,\n}", ":2:12: ", {}},
        {"{\n \"title\": \"a\"\n \"cards\": []\n}", ":3:2: ", {}},
        {"{ \"title\": \"\xff\" }", ":1:12: ", {}},
        {"[]", ":1:1: ", "expected a JSON object"},
        {"{} {}", ":1:4: ", {}},
    };
    for (const Row& row : rows) {
        CAPTURE(row.json.toStdString());
        const std::string qtReason = TestSupport::jsonError(row.json);
        REQUIRE(qtReason.empty() != row.ownReason.empty());
        CHECK(Written(row.json).error().toStdString() == row.place + qtReason + row.ownReason);
    }
}

TEST_CASE("presentation: a complaint names its file whatever the file's name holds")
{
    const Folder folder;
    const QString file = folder.write(QStringLiteral("50%2 %4/presentation.json"), "[]");
    QString error;
    CHECK_FALSE(Presentation::load(file, error));
    CHECK(error.toStdString() == file.toStdString() + ":1:1: expected a JSON object");
}

TEST_CASE("presentation: nesting without an end is refused, not followed")
{
    for (const QByteArray& json : {QByteArray(100000, '['), QByteArray("{\"widgets\":") + QByteArray(5000, '[')}) {
        const std::string reason = TestSupport::jsonError(json);
        REQUIRE_FALSE(reason.empty());
        CHECK(Written(json).error().toStdString().find(reason) != std::string::npos);
    }
}

TEST_CASE("presentation: a file beyond the limit is refused with its name, its size and the limit")
{
    const Folder folder;
    const QString file = folder.write(QStringLiteral("presentation.json"), "{}");
    REQUIRE(QFile::resize(file, (qint64(4) << 20) + (1 << 19)));
    QString error;
    CHECK_FALSE(Presentation::load(folder.path(), error));
    CHECK(error
          == QStringLiteral("cannot read %1 (it has 4.5 MiB, the limit is 4 MiB); give the folder of a presentation").arg(file));
}

TEST_CASE("presentation: a folder without one is named")
{
    const Folder folder;
    QString error;
    CHECK_FALSE(Presentation::load(folder.path(), error));
    CHECK(error
          == QStringLiteral("cannot read %1/presentation.json (No such file or directory); give the folder of a presentation")
                 .arg(folder.path()));
    CHECK_FALSE(Presentation::load(folder.path(QStringLiteral("none")), error));
    CHECK(error.startsWith(QStringLiteral("cannot read %1 ").arg(folder.path(QStringLiteral("none")))));
}

TEST_CASE("presentation: unknown entries are reported with their place, the rest is read")
{
    Written written(R"({"titel": "x", "title": "Rooms", "table": {"widht": 5, "height": 600},
                        "widgets": [{"component": "text", "atributes": {}}],
                        "services": {"mail": [], "media-server-service": [{"address": "http://a", "timeout": 3}]}})");
    TestSupport::expectWarningStartingWith(written.told("titel") + "unknown entry; known are title, table, ");
    written.skips(
        "table.widht",
        QStringLiteral("unknown entry; known are width, height, pixelPitchMm, keyboardLayout, language, fit, reducedMotion, "
                       "pictureMegabytes, decodedMegabytes, paintingThreads"));
    written.skips("widgets[0].atributes", QStringLiteral("unknown entry; known are component, id, classes, attributes, slots"));
    written.skips("services.mail", QStringLiteral("unknown kind of service; known are email-service, media-server-service"));
    written.skips("services.media-server-service[0].timeout",
                  QStringLiteral("unknown entry; known are name, address, timeoutSeconds, keyFile"));
    const Presentation presentation = written.load();
    CHECK(presentation.title == "Rooms");
    CHECK(presentation.sizePx.y == 600.f);
    CHECK(presentation.widgets.size() == 1);
    CHECK(presentation.mediaServers.size() == 1);
}

TEST_CASE("presentation: an entry of the wrong kind costs itself only")
{
    Written written(
        R"({"title": 5, "table": [], "styleSheets": "a.css", "plugins": {}, "people": 7, "services": [], "cards": 3, "widgets": {},
                        "closeTemporaryAfterSeconds": -1})");
    written.skips("title", QStringLiteral("expected a text"));
    written.skips("table", QStringLiteral("expected an object of names and values"));
    written.skips("styleSheets", QStringLiteral("expected a list of files"));
    written.skips("plugins", QStringLiteral("expected a list of plug-ins"));
    written.skips("people", QStringLiteral("expected the name of a file"));
    written.skips("services", QStringLiteral("expected an object of names and values"));
    written.skips("cards", QStringLiteral("expected a list of codes"));
    written.skips("widgets", QStringLiteral("expected a list of components"));
    written.skips("closeTemporaryAfterSeconds", QStringLiteral("expected a number above 0 and up to 16384"));
    const Presentation presentation = written.load();
    CHECK(presentation.sizePx.x == 1920.f);
    CHECK(presentation.peopleFile.isEmpty());
    CHECK(presentation.database.isEmpty());
    CHECK(presentation.care.closeAfterSeconds == 120.f);
    CHECK(presentation.care.closeLiftedAfterSeconds == 120.f);
}

TEST_CASE("presentation: an unknown way to fit the screen is reported, and the usual one stays")
{
    Written written(R"({"table": {"fit": "zoom", "width": 800}})");
    written.skips("table.fit", QStringLiteral("expected one of scale, stretch, relayout"));
    const Presentation presentation = written.load();
    CHECK_FALSE(presentation.fit);
    CHECK(presentation.sizePx.x == 800.f);
}

TEST_CASE("presentation: an element of the wrong kind costs itself only")
{
    Written written(
        R"({"table": {"width": -3, "height": "high", "pixelPitchMm": 0, "keyboardLayout": "qwerty", "pictureMegabytes": -1, "decodedMegabytes": 65537, "paintingThreads": 2.5},
                        "styleSheets": [1, "look.css"], "plugins": [null, "one"], "cards": [1.5, -1, "x", 1e300, 7],
                        "services": {"media-server-service": [7, {"address": "ftp://a"}, {"address": "http://"}, {"address": "http://a", "timeoutSeconds": 0}]},
                        "widgets": [3, {"id": "nameless"}, {"component": "text", "attributes": [], "slots": 1}, {"component": "panel"}]})");
    const QString sheet = written.folder().write(QStringLiteral("look.css"), "");
    const QString number = QStringLiteral("expected a number above 0 and up to 16384");
    const QString code = QStringLiteral("expected a card's code, a whole number (as a text when it is above 9007199254740992)");
    const QString address = QStringLiteral("\"address\" must be an address that begins with http:// or https://");
    const QString object = QStringLiteral("expected an object of names and values");
    const QString component = QStringLiteral("expected an object with a \"component\"");
    written.skips("table.width", number).skips("table.height", number).skips("table.pixelPitchMm", number);
    written.skips("table.keyboardLayout", QStringLiteral("expected one of en, de, fi, fr, none"));
    written.skips("table.pictureMegabytes", QStringLiteral("expected a number from 0 to 65536"));
    written.skips("table.decodedMegabytes", QStringLiteral("expected a number from 0 to 65536"));
    written.skips("table.paintingThreads", QStringLiteral("expected a whole number from 1 to 16"));
    written.skips("styleSheets[0]", QStringLiteral("expected the name of a file"));
    written.skips("plugins[0]", QStringLiteral("expected the name of a plug-in"));
    written.skips("cards[0]", code).skips("cards[1]", code).skips("cards[2]", code).skips("cards[3]", code);
    written.skips("services.media-server-service[0]", object);
    written.skips("services.media-server-service[1]", address).skips("services.media-server-service[2]", address);
    written.skips("services.media-server-service[3].timeoutSeconds", number);
    written.skips("widgets[0]", component).skips("widgets[1]", component);
    written.skips("widgets[2].attributes", object).skips("widgets[2].slots", object);

    const Presentation presentation = written.load();
    CHECK(presentation.sizePx.x == 1920.f);
    CHECK(presentation.sizePx.y == 1080.f);
    CHECK(presentation.styleSheets == QStringList{sheet});
    CHECK(presentation.plugins == QStringList{QStringLiteral("one")});
    CHECK(presentation.cards == std::vector<unsigned long>{7});
    REQUIRE(presentation.mediaServers.size() == 1);
    CHECK(presentation.mediaServers[0].timeoutSeconds == 10.0);
    REQUIRE(presentation.widgets.size() == 2);
    CHECK(presentation.widgets[1].component == "panel");
}

TEST_CASE("presentation: files that are not there are named, and what needs them is left out")
{
    Written written(R"({"styleSheets": ["none.css", "media"], "people": "none.csv",
                        "widgets": [{"component": "text"}, {"component": "document", "attributes": {
                            "source": {"file": "none.png"}, "display-name": "Guide",
                            "source-tessel-urls": [{"file": "media/guide.pdf"}, {"file": "media/none.pdf"}, "https://museum.example"],
                            "other": {"fil": "media/guide.pdf"}}}]})");
    const QString guide = written.folder().write(QStringLiteral("media/guide.pdf"), "");
    const auto missing = [&](const char* name) {
        return QStringLiteral("there is no file ") + written.folder().path(QLatin1String(name));
    };
    written.skips("styleSheets[0]", missing("none.css"))
        .skips("styleSheets[1]", missing("media"))
        .skips("people", missing("none.csv"));
    written.skips("widgets[1].attributes.source", missing("none.png"), ":3:39");
    written.skips("widgets[1].attributes.source-tessel-urls[1]", missing("media/none.pdf"), ":4:81");
    written.skips("widgets[1].attributes.other", QStringLiteral("expected the name of a file"), ":5:38");

    const Presentation presentation = written.load();
    CHECK(presentation.styleSheets.isEmpty());
    REQUIRE(presentation.widgets.size() == 2);
    CHECK(presentation.widgets[1].properties.value("attributes").toObject()
          == QJsonObject{{"display-name", "Guide"}, {"source-tessel-urls", QJsonArray{guide, "https://museum.example"}}});
}

TEST_CASE("presentation: slots hold components, and theirs")
{
    const Presentation presentation = Written(R"({"widgets": [{"component": "panel", "slots": {
        "left": [{"component": "picture", "id": "a"}, {"component": "panel", "slots": {"inner": [{"component": "text", "id": "deep"}]}}],
        "right": []}}]})")
                                          .load();
    REQUIRE(presentation.widgets.size() == 1);
    const auto& outer = presentation.widgets[0].slotContents;
    REQUIRE(outer.size() == 2);
    CHECK(outer[0].first == "left");
    REQUIRE(outer[0].second.size() == 2);
    CHECK(outer[0].second[0].properties.value("id") == "a");
    REQUIRE(outer[0].second[1].slotContents.size() == 1);
    CHECK(outer[0].second[1].slotContents[0].first == "inner");
    REQUIRE(outer[0].second[1].slotContents[0].second.size() == 1);
    CHECK(outer[0].second[1].slotContents[0].second[0].properties.value("id") == "deep");
    CHECK(outer[1].first == "right");
    CHECK(outer[1].second.empty());
}

TEST_CASE("presentation: slots nested too deeply are cut off there")
{
    QByteArray inner = R"({"component": "text"})";
    QString place = QStringLiteral("widgets");
    for (int depth = 0; depth < 20; ++depth)
        inner = R"({"component": "panel", "slots": {"s": [)" + inner + "]}}";
    for (int depth = 0; depth < 17; ++depth)
        place += QStringLiteral("[0].slots.s");
    Written written("{\"widgets\": [" + inner + "]}");
    const std::string told = written.told(place.toLatin1().constData());
    TestSupport::expectWarningStartingWith(told.substr(0, told.size() - 2));
    const Presentation presentation = written.load();
    int depth = 0;
    for (const std::vector<ComponentUse>* level = &presentation.widgets; !level->empty() && !level->front().slotContents.empty();
         level = &level->front().slotContents.front().second)
        ++depth;
    CHECK(depth == 17);
}

TEST_CASE("presentation: components with a name, and folders for content keys")
{
    Written written(R"({
        "components": {"map": {"component": "picture", "attributes": {"source": {"file": "map.png"}}}},
        "widgets": [{"use": "map", "id": "first"}],
        "folders": {"garden": {"component": "personal-folder", "slots": {"content-widget-relative": [{"use": "map"}]}},
                    "empty": 3}})");
    const QString map = written.folder().write(QStringLiteral("map.png"), "");
    written.skips("folders.empty", QStringLiteral("expected an object with a \"component\" or \"use\""));
    const Presentation presentation = written.load();
    REQUIRE(presentation.widgets.size() == 1);
    CHECK(presentation.widgets[0].component == "picture");
    CHECK(presentation.widgets[0].properties.value("id").toString() == "first");
    REQUIRE(presentation.folders.size() == 1);
    CHECK(presentation.folders[0].first == "garden");
    CHECK(presentation.folders[0].second.component == "personal-folder");
    REQUIRE(presentation.folders[0].second.slotContents.size() == 1);
    CHECK(presentation.folders[0]
              .second.slotContents[0]
              .second.at(0)
              .properties.value("attributes")
              .toObject()
              .value("source")
              .toString()
          == map);
}

TEST_CASE("presentation: components that contain one another in a circle are reported, the rest is read")
{
    Written written(R"({"components": {
            "a": {"component": "panel", "slots": {"s": [{"use": "b"}, {"component": "text"}]}},
            "b": {"component": "panel", "slots": {"s": [{"use": "a"}]}}},
        "widgets": [{"use": "a"}, {"component": "text"}]})");
    written.skips("components.b.slots.s[0]", QStringLiteral("components contain one another in a circle: a > b > a"));
    const Presentation presentation = written.load();
    REQUIRE(presentation.widgets.size() == 2);
    CHECK(presentation.widgets[0].slotContents[0].second.size() == 2);
    CHECK(presentation.widgets[1].component == "text");
}

TEST_CASE("presentation: percent signs in names stand in the warnings as they are written")
{
    Written written(R"({"folders": {"100%2 %1": {"component": "panel", "slots": {"%3": [{"component": "text"}, {}]}}},
                        "services": {"e%1-service": [{}]}})");
    written.skips("folders.100%2 %1.slots.%3[1]", QStringLiteral("expected an object with a \"component\""));
    written.skips("services.e%1-service",
                  QStringLiteral("unknown kind of service; known are email-service, media-server-service"));
    const Presentation presentation = written.load();
    REQUIRE(presentation.folders.size() == 1);
    CHECK(presentation.folders[0].first == "100%2 %1");
}

TEST_CASE("presentation: a media server's key is read from a file beside it, and an unsafe file is reported with the remedy")
{
    Written written(R"({"services": {"media-server-service": [{"address": "http://a", "keyFile": "key"},
                                                              {"address": "http://b", "keyFile": "open"}]}})");
    const QByteArray key = "00112233445566778899aabbccddeeff";
    const QString open = written.folder().write(QStringLiteral("open"), key);
    QFile::setPermissions(written.folder().write(QStringLiteral("key"), key), QFile::ReadOwner | QFile::WriteOwner);
    QFile::setPermissions(open, QFile::ReadOwner | QFile::ReadOther);
    written.skips("services.media-server-service[1].keyFile",
                  QStringLiteral("The key file \"%1\" can be read or changed by other users: chmod 600 it").arg(open));
    const Presentation presentation = written.load();
    REQUIRE(presentation.mediaServers.size() == 2);
    CHECK(presentation.mediaServers[0].key == key);
    CHECK(presentation.mediaServers[1].key.isEmpty());
}

TEST_CASE("presentation: the number of painting threads is left to the table unless one from 1 to 16 is given")
{
    CHECK_FALSE(Written(R"({})").load().paintingThreads);
    CHECK(Written(R"({"table": {"paintingThreads": 1}})").load().paintingThreads == 1);
    CHECK(Written(R"({"table": {"paintingThreads": 16}})").load().paintingThreads == 16);
    for (const char* text : {R"({"table": {"paintingThreads": 0}})", R"({"table": {"paintingThreads": 17}})",
                             R"({"table": {"paintingThreads": "2"}})"}) {
        CAPTURE(text);
        Written written(text);
        written.skips("table.paintingThreads", QStringLiteral("expected a whole number from 1 to 16"));
        CHECK_FALSE(written.load().paintingThreads);
    }
}

TEST_CASE("presentation: collections are kept for as long as it says, and not at all when that cannot be read")
{
    CHECK_FALSE(Written("{}").load().collections);
    CHECK(Written(R"({"collections": {"keep": "30d"}})").load().collections->keepSeconds == 30 * 24 * 3600);
    CHECK(Written(R"({"collections": {"keep": "forever"}})").load().collections->keepSeconds == 0);
    const QString expected = QStringLiteral("expected a time of up to 3650 days, such as \"30d\" or \"12h\", or \"forever\"");
    CHECK_FALSE(Written(R"({"collections": {"keep": 30}})").skips("collections.keep", expected).load().collections);
    CHECK_FALSE(Written(R"({"collections": {}})").skips("collections.keep", expected).load().collections);
}
