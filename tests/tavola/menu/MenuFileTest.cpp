#include "menu/MenuFile.hpp"

#include "JsonError.hpp"
#include "LogCapture.hpp"
#include "MenuHost.hpp"

#include <QJsonArray>

using TestSupport::expectWarning;

TEST_CASE("menu file: entries have a text, an icon or both, and lead to entries, to another file's entries or to content")
{
    MenuHost table;
    const QString icon = table.write(QStringLiteral("icon.png"), "");
    table.write(QStringLiteral("artists.json"), R"({"entries": [{"text": "Ann", "content": {"component": "panel"}}]})");
    Tavola::MenuFiles files;
    const auto menu = files.menu(table.write(QStringLiteral("menu.json"), R"({"entries": [
        {"text": "Map", "icon": "icon.png", "content": {"component": "panel", "attributes": {"gap": 10.50}}},
        {"icon": "icon.png", "entries": [{"text": "Red", "content": {"component": "panel"}}]},
        {"id": "people", "text": "Artists", "menu": "artists.json"}]})"));
    REQUIRE(menu->entries.size() == 3);
    CHECK(menu->entries[0].text == "Map");
    CHECK(menu->entries[0].icon == icon);
    REQUIRE(menu->entries[0].content);
    CHECK(menu->entries[0].content->component == "panel");
    // With its digits: a text attribute gets them as they are.
    CHECK(menu->entries[0].content->properties.value("attributes").toObject()
          == QJsonObject{{"gap", QJsonObject{{"number", "10.50"}}}});
    CHECK(menu->entries[1].text.isEmpty());
    REQUIRE(menu->entries[1].entries.size() == 1);
    CHECK(menu->entries[1].entries[0].text == "Red");
    REQUIRE(menu->entries[2].entries.size() == 1);
    CHECK(menu->entries[2].entries[0].text == "Ann");
    CHECK(menu->entries[2].id == "people");
    CHECK(menu->entries[1].id.isEmpty());
}

TEST_CASE("menu file: a mistake costs the smallest piece, and is reported with its place")
{
    struct Row
    {
        const char* json;
        std::vector<const char*> skipped; ///< place and reason
        std::size_t entries;
    };
    const Row rows[] = {
        {R"({"entries": [1, {"text": "A", "content": {"component": "panel"}}]})",
         {"entries[0]: expected an object such as { \"text\": \"Map\", \"content\": { \"component\": \"picture\" } }"},
         1},
        {R"({"entries": [{"text": "A", "content": {"component": "volcano"}}, {"text": "B", "content": {"component": "panel"}}]})",
         {"entries[0].content: there is no component \"volcano\""},
         1},
        {R"({"entries": [{"text": "A", "content": {"component": "panel", "slots": {"s": [{"component": "volcano"}, {"component": "panel"}]}}}]})",
         {"entries[0].content.slots.s[0]: there is no component \"volcano\""},
         1},
        {R"({"entries": [{"text": "A", "icon": "none.png", "content": {"component": "panel"}}]})",
         {"entries[0].icon: there is no file %FOLDER%/none.png"},
         1},
        {R"({"entries": [{"text": 5, "icon": "none.png", "content": {"component": "panel"}}, {"text": "B", "content": {"component": "panel"}}]})",
         {"entries[0].text: expected a text", "entries[0].icon: there is no file %FOLDER%/none.png",
          "entries[0]: expected a \"text\" or an \"icon\""},
         1},
        {R"({"entries": [{"text": "A"}, {"text": "B", "menu": "a.json", "entries": []}, {"text": "C", "content": {"component": "panel"}}]})",
         {"entries[0]: expected one of \"entries\", \"menu\" and \"content\"",
          "entries[1]: expected one of \"entries\", \"menu\" and \"content\""},
         1},
        {R"({"entries": [{"text": "A", "content": {"component": "panel", "attributes": {"source": {"file": "none.png"}}}}]})",
         {":1:87: entries[0].content.attributes.source: there is no file %FOLDER%/none.png"},
         1},
        {R"({"entries": [{"text": "A", "entries": 3}, {"text": "B", "content": {"component": "panel"}}]})",
         {"entries[0].entries: expected a list of entries", "entries[0]: it leads to no entries"},
         1},
        {R"({"entries": [{"text": "A", "menu": "none.json"}, {"text": "B", "content": {"component": "panel"}}]})",
         {"entries[0].menu: there is no file %FOLDER%/none.json", "entries[0]: it leads to no entries"},
         1},
        {R"({"entries": [{"text": "A", "menu": "broken.json"}, {"text": "B", "content": {"component": "panel"}}]})",
         {"entries[0].menu: %FOLDER%/broken.json:2:3: %REASON%", "entries[0]: it leads to no entries"},
         1},
        {R"({"entires": [], "entries": [{"text": "A", "tip": "x", "content": {"component": "panel"}}]})",
         {"entires: unknown entry; known are components, entries",
          "entries[0].tip: unknown entry; known are id, text, icon, entries, menu, content"},
         1},
        {R"({"entries": [{"text": "A", "menu": "menu.json"}, {"text": "B", "content": {"component": "panel"}}]})",
         {"entries[0].menu: menus include one another in a circle: menu.json > menu.json", "entries[0]: it leads to no entries"},
         1},
        {R"({"entries": {}})", {"entries: expected a list of entries"}, 0},
        {R"({})", {"entries: expected a list of entries"}, 0},
    };
    MenuHost table;
    const QByteArray broken = "{\n  ]";
    table.write(QStringLiteral("broken.json"), broken);
    for (const Row& row : rows) {
        CAPTURE(row.json);
        for (const char* skipped : row.skipped)
            expectWarning(
                QStringLiteral("ContentMenuWidget # %1%2; it is skipped")
                    .arg(table.path(QStringLiteral("menu.json")),
                         QString(QLatin1String(*skipped == ':' ? "" : ": ") + QString::fromUtf8(skipped))
                             .replace(QLatin1String("%FOLDER%"), table.folder.path())
                             .replace(QLatin1String("%REASON%"), QString::fromStdString(TestSupport::jsonError(broken))))
                    .toStdString());
        Tavola::MenuFiles files;
        CHECK(files.menu(table.write(QStringLiteral("menu.json"), row.json))->entries.size() == row.entries);
    }
}

TEST_CASE("menu file: an attribute that does not fit is reported when the file is read, and not at each opening")
{
    MenuHost table;
    addComponentOf<Trellis::Widget>(table.host, "locked",
                                    Tavola::Schema({{"type", "widget"}, {"restrictions", QJsonArray{"gap"}}}));
    const QByteArray json = R"({"entries": [
        {"text": "A", "content": {"component": "panel", "classes": ["content"], "attributes": {"gap": "wide"}}},
        {"text": "B", "content": {"component": "locked", "attributes": {"gap": "wide"}}}]})";
    const std::string start = "UIComponent # " + table.path(QStringLiteral("menu.json")).toStdString();
    expectWarning(start + ":2:103: entries[0].content.attributes.gap: component 'panel': expected a number; skipped");
    TestSupport::expectError(start
                             + ":3:80: entries[1].content.attributes.gap: component 'locked': expected a number; "
                               "the component is left out, because it restricts nothing without this");
    const auto menu = table.menu(json);
    const auto node = menu->nodeWidget(menu->prepare({960.f, 540.f}));
    table.host.frames(30);
    CHECK(MenuHost::withClass(*node, "menu-entry").size() == 1); // what launches nothing is no entry
    for (std::size_t i = 1; i < 3; ++i) {
        table.tap(MenuHost::entry(*node, 0));
        table.host.frames(30);
        CHECK(table.launched().size() == i);
    }
}

TEST_CASE("menu file: files that include one another in a circle are reported, and the rest is there")
{
    MenuHost table;
    const QString second = table.write(QStringLiteral("second.json"), R"({"entries": [
        {"text": "Back", "menu": "menu.json"}, {"text": "Map", "content": {"component": "panel"}}]})");
    expectWarning(
        "ContentMenuWidget # " + second.toStdString()
        + ": entries[0].menu: menus include one another in a circle: menu.json > second.json > menu.json; it is skipped");
    expectWarning("ContentMenuWidget # " + second.toStdString() + ": entries[0]: it leads to no entries; it is skipped");
    Tavola::MenuFiles files;
    const auto menu =
        files.menu(table.write(QStringLiteral("menu.json"), R"({"entries": [{"text": "On", "menu": "second.json"}]})"));
    REQUIRE(menu->entries.size() == 1);
    REQUIRE(menu->entries[0].entries.size() == 1);
    CHECK(menu->entries[0].entries[0].text == "Map");
}

TEST_CASE("menu file: levels and entries have a limit")
{
    MenuHost table;
    Tavola::MenuFiles files;
    QByteArray deep = R"({"text": "Map", "content": {"component": "panel"}})";
    QString place = QStringLiteral("entries");
    for (int level = 1; level <= Tavola::MenuFiles::kDeepest; ++level) {
        deep = R"({"text": "On", "entries": [)" + deep + "]}";
        place += QStringLiteral("[0].entries");
    }
    const std::string start = "ContentMenuWidget # " + table.path(QStringLiteral("menu.json")).toStdString() + ": ";
    expectWarning(start + place.toStdString() + ": menus are nested too deeply; it is skipped");
    for (int level = 0; level < Tavola::MenuFiles::kDeepest; ++level) {
        place.chop(int(qstrlen(".entries")));
        expectWarning(start + place.toStdString() + ": it leads to no entries; it is skipped");
        place.chop(int(qstrlen("[0]")));
    }
    CHECK(files.menu(table.write(QStringLiteral("menu.json"), "{\"entries\": [" + deep + "]}"))->entries.empty());

    expectWarning(start + "entries[2000]: there are more than 2000 entries; it is skipped");
    CHECK(files.menu(table.write(QStringLiteral("menu.json"), MenuHost::entriesOf(2002)))->entries.size() == 2000);
}

TEST_CASE("menu file: one that cannot be read has no entries, and is a warning with the reason")
{
    MenuHost table;
    Tavola::MenuFiles files;
    const QString path = table.path(QStringLiteral("menu.json"));
    const std::string start = "ContentMenuWidget # " + path.toStdString();
    expectWarning("ContentMenuWidget # cannot read the menu " + path.toStdString()
                  + " (No such file or directory); the menu stays empty");
    CHECK(files.menu(path)->entries.empty());
    TestSupport::expectWarningStartingWith(start + ":1:1: ");
    CHECK(files.menu(table.write(QStringLiteral("menu.json"), "{"))->entries.empty());
    expectWarning(start + ":1:1: expected an object with \"entries\"; the menu stays empty");
    CHECK(files.menu(table.write(QStringLiteral("menu.json"), "[ ]"))->entries.empty());

    const QString large = table.write(QStringLiteral("large.json"), R"({"entries": []})");
    REQUIRE(QFile::resize(large, qint64(5) << 20));
    expectWarning("ContentMenuWidget # cannot read the menu " + large.toStdString()
                  + " (it has 5.0 MiB, the limit is 4 MiB); the menu stays empty");
    CHECK(files.menu(large)->entries.empty());
}

TEST_CASE("menu file: it is read once, and again when it or a file in it has changed")
{
    MenuHost table;
    Tavola::MenuFiles files;
    const QString inner = table.write(QStringLiteral("inner.json"), MenuHost::entriesOf(1));
    const QString outer = table.write(QStringLiteral("outer.json"), R"({"entries": [{"text": "In", "menu": "inner.json"}, 7]})");
    const std::string mistake = "ContentMenuWidget # " + outer.toStdString()
        + ": entries[1]: expected an object such as { \"text\": \"Map\", \"content\": { \"component\": \"picture\" } }; it is "
          "skipped";
    expectWarning(mistake);
    const auto first = files.menu(outer);
    CHECK(files.menu(outer) == first); // without a second warning
    table.write(QStringLiteral("inner.json"), MenuHost::entriesOf(3));
    expectWarning(mistake);
    const auto second = files.menu(outer);
    REQUIRE(second != first);
    CHECK(second->entries[0].entries.size() == 3);
    CHECK(first->entries[0].entries.size() == 1); // which open nodes may still show
}
