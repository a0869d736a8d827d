#include "table/Table.hpp"

#include "Patience.hpp"
#include "TablePlace.hpp"
#include "inspector/WidgetReport.hpp"
#include "services/PeopleRegistry.hpp"

#include <Bedrock/AfterUpdateQueue.hpp>
#include <Bedrock/DecodedFiles.hpp>
#include <Bedrock/Inbox.hpp>
#include <Bedrock/ReferenceCounted.hpp>
#include <EventLoop.hpp>
#include <LogCapture.hpp>
#include <Tactile/TuioEncoder.hpp>
#include <Tactile/TuioInput.hpp>
#include <Tavola/InputFieldWidget.hpp>
#include <Tavola/ServiceProvider.hpp>
#include <Tavola/Tavola.hpp>
#include <Tavola/TesselServiceCache.hpp>
#include <Tavola/UserInterface.hpp>
#include <Trellis/Application.hpp>
#include <Trellis/TextWidget.hpp>
#include <Trellis/Widget.hpp>

#include <doctest/doctest.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QUdpSocket>

#include <dlfcn.h>

using namespace Host;

using TestSupport::expectWarning;
using TestSupport::expectWarningStartingWith;

namespace
{
/// What lies on the table, by CSS id.
Trellis::Widget* find(const Table&, const char* cssId)
{
    for (const auto& child : Tavola::Tavola::instance()->ui()->mainWidget()->children())
        if (child->cssId() == cssId)
            return child.get();
    return nullptr;
}

bool isLoaded(const char* library)
{
    void* handle = dlopen(library, RTLD_NOW | RTLD_NOLOAD);
    if (handle)
        dlclose(handle);
    return handle != nullptr;
}

/// A real visit needs the plug-in: the gallery with it.
void openGallery(TablePlace& place)
{
    place.presentationFolder = QStringLiteral(TAVOLA_GALLERY);
    place.options.plugin = QStringLiteral(TAVOLA_PLUGIN);
}
}

TEST_CASE("table: the gallery opens with its plug-in, and nothing of either is left when it closes")
{
    const long before = Bedrock::ReferenceCounted::liveObjects();
    TablePlace place;
    openGallery(place);
    for (int round = 0; round < 2; ++round) {
        CAPTURE(round);
        {
            const auto table = place.open();
            CHECK(isLoaded(TAVOLA_PLUGIN));
            CHECK(table->application().size().x == 1920.f);
            for (int i = 0; i < 10; ++i)
                table->application().frame(1.0 / 60.0);
            for (const char* id : {"detector", "museum", "tidal-study", "guide", "opening-hours"})
                CHECK_MESSAGE(find(*table, id), id);
            REQUIRE(TestSupport::pumpUntil([&] {
                table->application().frame(0.0);
                return table->application().pendingImages() == 0;
            }));
            CHECK(table->application().renderToImage().size() == QSize(1920, 1080));
        }
        CHECK_FALSE(isLoaded(TAVOLA_PLUGIN));
        CHECK_FALSE(Tavola::Tavola::instance());
        CHECK_FALSE(Trellis::Application::instance());
        CHECK(Bedrock::AfterUpdateQueue::instance().isEmpty());
        CHECK_FALSE(Bedrock::Inbox::instance().isWaiting());
        CHECK(Bedrock::Inbox::instance().openJobs() == 0);
        CHECK(Bedrock::ReferenceCounted::liveObjects() == before);
    }
}

TEST_CASE("table: it speaks the language of its presentation, or the one that it is opened with")
{
    for (const auto& [language, name] :
         {std::pair("", "The Small Museum"), {"fi", "Pieni museo"}, {"de-ch", "Das Kleine Museum"}}) {
        CAPTURE(name);
        TablePlace place;
        openGallery(place);
        place.options.language = QLatin1String(language);
        const auto table = place.open();
        const auto* const museum = dynamic_cast<Trellis::TextWidget*>(find(*table, "museum"));
        REQUIRE(museum);
        CHECK(museum->text() == name);
    }
}

TEST_CASE("table: the keyboards of what opens at a card follow its language, unless the table has none")
{
    for (const auto& [json, layout] : {std::pair("{}", "de"), {R"({"table": {"keyboardLayout": "none"}})", ""}}) {
        CAPTURE(json);
        TablePlace place;
        place.presentation(json);
        const auto table = place.open();
        const auto space = Bedrock::makeIntrusive<Trellis::Widget>(Tavola::Tavola::instance()->ui()->mainWidget().get());
        space->setPseudoClass("lang(de)", true);
        const auto field = Bedrock::makeIntrusive<Tavola::InputFieldWidget>(space.get(), false);
        CHECK(field->keyboardLayout().value() == layout);
    }
}

TEST_CASE("table: one that closes before its first frame leaves nothing behind either")
{
    const long before = Bedrock::ReferenceCounted::liveObjects();
    TablePlace place;
    openGallery(place);
    (void)place.open();
    CHECK_FALSE(isLoaded(TAVOLA_PLUGIN));
    CHECK(Bedrock::ReferenceCounted::liveObjects() == before);
}

TEST_CASE("table: a widget of a plug-in that leaves the tree with a queued function is destroyed before the plug-in is unloaded")
{
    /// Takes its widget from its parent when it is dropped.
    struct Holder
    {
        ~Holder() { widget->removeFromParent(); }
        Bedrock::IntrusivePtr<Trellis::Widget> parent;
        Bedrock::IntrusivePtr<Trellis::Widget> widget;
    };
    const long before = Bedrock::ReferenceCounted::liveObjects();
    TablePlace place;
    openGallery(place);
    {
        const auto table = place.open();
        const auto holder = std::make_shared<Holder>();
        holder->parent = Bedrock::makeIntrusive<Trellis::Widget>();
        holder->widget = Tavola::Tavola::instance()->ui()->createStockWidget(QStringLiteral("personal-space-widget"), "main");
        REQUIRE(holder->widget);
        holder->parent->addChild(holder->widget);
        table->application().frame(0.0);
        Facet::Node::invokeAfterUpdate([holder] {});
    }
    CHECK_FALSE(isLoaded(TAVOLA_PLUGIN));
    CHECK(Bedrock::ReferenceCounted::liveObjects() == before);
}

TEST_CASE("table: a card that a datagram puts down reaches what lies below it, and noise does nothing")
{
    TablePlace place;
    place.presentation(R"({"table": {"width": 800, "height": 600}})");
    const auto table = place.open();
    int cards = 0;
    Tavola::Tavola::instance()->ui()->background()->eventAddListener("marker-down", [&cards] { ++cards; });
    QUdpSocket sender;
    const auto send = [&](const char* bytes, std::size_t size) {
        REQUIRE(sender.writeDatagram(bytes, qint64(size), QHostAddress::LocalHost, quint16(table->tuioPort())) == qint64(size));
    };

    send("noise", 5);
    REQUIRE(table->input().waitForDatagrams(1, TestSupport::kPatience));
    expectWarningStartingWith("TuioDecoder::decode # Dropped a datagram (from 127.0.0.1:");
    table->application().frame(1.0 / 60.0);
    CHECK(cards == 0);

    Tactile::TuioEncoder encoder;
    encoder.begin(Tactile::TuioProfile::Objects);
    encoder.alive({5});
    encoder.setObject(5, 1001, 0.5f, 0.5f, 0.f);
    const auto& packet = encoder.finish(1);
    send(packet.data(), packet.size());
    REQUIRE(table->input().waitForDatagrams(2, TestSupport::kPatience));
    table->application().frame(1.0 / 60.0);
    CHECK(cards == 1);
}

namespace
{
/// Cards that a tracker sees, as datagrams over a real socket.
class Tracker
{
public:
    explicit Tracker(Table& table) : m_table(table) {}

    /// One frame of the tracker and of the table: these cards lie there, by session and code.
    void frame(const std::vector<std::pair<int, int>>& cards, float x = 0.5f, float y = 0.5f)
    {
        m_encoder.begin(Tactile::TuioProfile::Objects);
        std::vector<std::int32_t> alive;
        for (const auto& card : cards)
            alive.push_back(card.first);
        m_encoder.alive(alive);
        for (const auto& card : cards)
            m_encoder.setObject(card.first, card.second, x, y, 0.f);
        const auto& packet = m_encoder.finish(++m_frames);
        REQUIRE(m_socket.writeDatagram(packet.data(), qint64(packet.size()), QHostAddress::LocalHost, quint16(m_table.tuioPort()))
                == qint64(packet.size()));
        REQUIRE(m_table.input().waitForDatagrams(++m_sent, TestSupport::kPatience));
        m_table.application().frame(1.0 / 60.0);
    }
    /// Longer than a card that is lost for a moment is held.
    void rest()
    {
        for (int i = 0; i < 10; ++i)
            m_table.application().frame(0.1);
    }

private:
    Table& m_table;
    QUdpSocket m_socket;
    Tactile::TuioEncoder m_encoder;
    int m_frames = 0;
    int m_sent = 0;
};
}

TEST_CASE("table: a card has the same id whenever its code comes back")
{
    TablePlace place;
    place.presentation(R"({"table": {"width": 800, "height": 600}})");
    const auto table = place.open();
    std::vector<std::int64_t> down;
    std::vector<std::int64_t> up;
    const auto background = Tavola::Tavola::instance()->ui()->background();
    background->eventAddListenerBd("marker-down", [&](Bedrock::BinaryData& id) { down.push_back(id.readInt64()); });
    background->eventAddListenerBd("marker-up", [&](Bedrock::BinaryData& id) { up.push_back(id.readInt64()); });
    Tracker tracker(*table);
    tracker.frame({{5, 1001}});
    tracker.frame({});
    tracker.rest();
    tracker.frame({{6, 1002}});
    tracker.frame({{6, 1002}, {7, 1001}}); // a session of its own, the same card
    REQUIRE(down.size() == 3);
    REQUIRE(up.size() == 1);
    CHECK(up[0] == down[0]);
    CHECK(down[1] != down[0]);
    CHECK(down[2] == down[0]);
}

TEST_CASE("table: a card with a content key opens the presentation's folder for it, on whichever detector it is put")
{
    const long before = Bedrock::ReferenceCounted::liveObjects();
    {
        TablePlace place;
        place.options.plugin = QStringLiteral(TAVOLA_PLUGIN);
        place.folder.write(QStringLiteral("people.csv"), "code,name,content-key\n1001,Ann,garden\n1002,Bo,moon\n1003,Cy,\n");
        place.folder.write(QStringLiteral("table.css"),
                           "#left { position: absolute; left: 0px; top: 0px; width: 50%; height: 100% }"
                           "#right { position: absolute; left: 50%; top: 0px; width: 50%; height: 100% }"
                           "#item { width: 100px; height: 100px } PersonalFolderWidget { dismiss-widgets: true }");
        place.presentation(R"({"table": {"width": 800, "height": 600}, "people": "people.csv", "styleSheets": ["table.css"],
            "folders": {"garden": {"component": "personal-folder", "slots": {"content-widget-relative": [{"component": "panel", "id": "item", "attributes": {"gap": "wide"}}]}}},
            "widgets": [{"component": "tavola-personal-tessel-detector", "id": "left"},
                        {"component": "tavola-personal-tessel-detector", "id": "right"}]})");
        // Once, although a card brings it twice.
        expectWarning("UIComponent # " + place.folder.path(QStringLiteral("presentation.json")).toStdString()
                      + ":2:165: folders.garden.slots.content-widget-relative[0].attributes.gap: component 'panel': "
                        "expected a number; skipped");
        const auto table = place.open();
        table->application().frame(0.0);
        CHECK(Tavola::Tavola::instance()->ui()->internalOverlayWidget()->findByType("MarkerDetectorWidget"));
        CHECK(Tavola::Tavola::instance()->ui()->background()->hasCSSClass("tavola-background"));
        Tracker tracker(*table);
        const auto mainWidget = Tavola::Tavola::instance()->ui()->mainWidget();
        for (const float x : {0.25f, 0.75f}) {
            CAPTURE(x);
            tracker.frame({{5, 1001}}, x);
            REQUIRE(find(*table, "item"));
            CHECK(find(*table, "item")->hasCSSClass("tavola-temporary"));
            CHECK(mainWidget->findAllByType("PersonalFolderWidget").size() == 1);
            tracker.frame({});
            tracker.rest();
            CHECK_FALSE(find(*table, "item"));
        }
        expectWarning("PersonalTesselDetectorWidget::handlePersonalMarker # Failed to create personal folder for code 1002 (the "
                      "presentation "
                      "has nothing for the content key \"moon\"; add it to \"folders\")");
        tracker.frame({{6, 1002}});
        tracker.frame({{6, 1002}, {7, 1003}}, 0.75f);
        CHECK(mainWidget->findByType("PersonalSpaceWidget"));
    }
    CHECK_FALSE(isLoaded(TAVOLA_PLUGIN));
    CHECK(Bedrock::ReferenceCounted::liveObjects() == before);
}

TEST_CASE("table: a size on the command line goes before the presentation's")
{
    TablePlace place;
    place.presentation(R"({"table": {"width": 800, "height": 600}})");
    CHECK(place.open()->application().size().x == 800.f);
    place.options.size = QSize(640, 480);
    const auto table = place.open();
    CHECK(table->application().size().x == 640.f);
    CHECK(table->application().size().y == 480.f);
}

TEST_CASE("table: an error in a style sheet is reported with its place and costs one declaration")
{
    TablePlace place;
    place.presentation(
        R"({"styleSheets": ["look.css", "more.css"], "widgets": [{"component": "panel", "id": "a"}, {"component": "panel", "id": "b"}]})");
    const QString sheet =
        place.folder.write(QStringLiteral("look.css"), "#a { left: 10px;\n     width: blue;\n     height: 30px }\n");
    place.folder.write(QStringLiteral("more.css"), "#b { width: 40px }\n");
    expectWarningStartingWith("StyleEngine # " + sheet.toStdString() + ":2:6: width: ");
    const auto table = place.open();
    table->application().frame(0.0);
    REQUIRE(find(*table, "a"));
    CHECK(find(*table, "a")->height() == 30.f);
    REQUIRE(find(*table, "b"));
    CHECK(find(*table, "b")->width() == 40.f);
}

TEST_CASE("table: style sheets measure in its millimetres and ask for its size and motion")
{
    TablePlace place;
    place.presentation(R"({"table": {"width": 1000, "height": 500, "pixelPitchMm": 0.5, "reducedMotion": true},
                           "styleSheets": ["look.css"], "widgets": [{"component": "panel", "id": "a"}]})");
    place.folder.write(QStringLiteral("look.css"),
                       "#a { width: 30mm } @media (width: 1000px) and (prefers-reduced-motion) { #a { height: 20px } }\n"
                       "@media (min-width: 1001px) { #a { height: 10px } }\n");
    const auto table = place.open();
    REQUIRE(find(*table, "a"));
    CHECK(find(*table, "a")->width() == 60.f);
    CHECK(find(*table, "a")->height() == 20.f);
}

TEST_CASE("table: what is wrong in a presentation costs the smallest piece, the rest is on the table")
{
    TablePlace place;
    place.presentation(R"({"people": "people.csv", "widgets": [
        {"component": "no-such-thing", "id": "none"},
        {"component": "picture", "id": "map", "attributes": {"source": {"file": "none.png"}, "display-name": "Map"}},
        {"component": "panel", "id": "odd", "attributes": {"no-such-attribute": 1, "rotation": "much", "opacity": 0.5}},
        {"component": "text", "id": "title", "attributes": {"text": "Rooms"}}]})");
    const std::string people = place.folder.write(QStringLiteral("people.csv"), "code,name\n1,Ann\nx,Bo\n3,Cy\n").toStdString();
    const std::string file = place.folder.path(QStringLiteral("presentation.json")).toStdString();
    expectWarning("Presentation # " + file + ":3:72: widgets[1].attributes.source: there is no file "
                  + place.folder.path(QStringLiteral("none.png")).toStdString() + "; it is skipped");
    expectWarning("PeopleFile # " + people + ":3: 'x' is no card code, a whole number is expected; the line is skipped");
    expectWarning("ComponentUse # " + file + ": widgets[0]: there is no component \"no-such-thing\"; it is left out");
    expectWarning("UIComponent # " + file
                  + ":4:81: widgets[2].attributes.no-such-attribute: component 'panel': a Widget has no such attribute; skipped");
    expectWarningStartingWith("UIComponent # " + file + ":4:96: widgets[2].attributes.rotation: component 'panel': expected ");

    const auto table = place.open();
    table->application().frame(0.0);
    CHECK_FALSE(find(*table, "none"));
    CHECK(find(*table, "map"));
    REQUIRE(find(*table, "odd"));
    CHECK(find(*table, "odd")->opacity() == 0.5f);
    CHECK(find(*table, "title"));
    const auto cache = Tavola::Tavola::instance()->services()->tesselServiceCache();
    CHECK(cache->isCached(1));
    CHECK_FALSE(cache->isCached(2));
    CHECK(cache->isCached(3));
}

TEST_CASE("table: what keeps it from opening is reported, and a later attempt succeeds")
{
    TablePlace place;
    place.presentation(R"({"people": "people.csv", "plugins": ["no-such-plug-in"]})");
    place.folder.write(QStringLiteral("people.csv"), "code\n1\n");

    CHECK_FALSE(place.tryToOpen());
    CHECK(place.error.startsWith(QStringLiteral("there is no plug-in no-such-plug-in; looked for in ")));

    place.options.plugin = QStringLiteral("/nowhere/such.so");
    CHECK_FALSE(place.tryToOpen());
    CHECK(place.error == QStringLiteral("there is no plug-in file /nowhere/such.so"));

    const QString broken = place.folder.write(QStringLiteral("broken.so"), "This is a letter, not a library.");
    place.options.plugin = broken;
    expectWarningStartingWith("PluginLoader # " + place.folder.path(QStringLiteral("broken.json")).toStdString() + " is missing");
    CHECK_FALSE(place.tryToOpen());
    CHECK(place.error.startsWith(QStringLiteral("plug-in %1 cannot be loaded: %1: ").arg(broken)));

    place.presentation(R"({"people": "people.csv"})");
    place.options.plugin.clear();
    const QString data = place.options.dataFolder;
    place.options.dataFolder = place.folder.path(QStringLiteral("people.csv"));
    CHECK_FALSE(place.tryToOpen());
    CHECK(place.error.startsWith(QStringLiteral("cannot make the folder %1; ").arg(place.options.dataFolder)));

    place.options.dataFolder = data;
    CHECK(place.tryToOpen());
}

TEST_CASE("table: a port that is taken is reported with the remedy")
{
    QUdpSocket other;
    REQUIRE(other.bind(QHostAddress::LocalHost, 0, QAbstractSocket::DontShareAddress));
    TablePlace place;
    place.presentation("{}");
    place.options.listener->port = other.localPort();
    const std::string told = "UdpDatagramSource # Failed to listen on 127.0.0.1:" + std::to_string(other.localPort()) + " (";
    TestSupport::expectErrorStartingWith(told);
    CHECK_FALSE(place.tryToOpen());
    CHECK(place.error.toStdString().compare(0, told.size(), told) == 0);
}

TEST_CASE("table: decoded pictures of the presentation are kept on the disk while it is open, those of visitors are not")
{
    TablePlace place;
    place.presentation("{}");
    place.options.decodedFolder = place.folder.path(QStringLiteral("cache"));
    place.folder.write(QStringLiteral("picture.png"), "a");
    place.folder.write(QStringLiteral("data/visitor.png"), "a");
    const auto isKept = [&place](const char* file) {
        const auto kept = Bedrock::DecodedFiles::shared();
        return kept && kept->source(place.folder.path(QString::fromLatin1(file)), "large").has_value();
    };
    {
        const auto table = place.open();
        CHECK(isKept("picture.png"));
        CHECK_FALSE(isKept("data/visitor.png"));
        CHECK_FALSE(isKept("../picture.png"));
    }
    CHECK_FALSE(Bedrock::DecodedFiles::shared());

    struct Row
    {
        const char* what;
        const char* presentation;
        std::optional<int> option;
        bool isKept;
    };
    const Row rows[] = {{"off in the presentation", R"({"table": {"decodedMegabytes": 0}})", {}, false},
                        {"off by the option", "{}", 0, false},
                        {"on again by the option", R"({"table": {"decodedMegabytes": 0}})", 1, true}};
    for (const Row& row : rows) {
        CAPTURE(row.what);
        place.presentation(row.presentation);
        place.options.decodedMegabytes = row.option;
        const auto table = place.open();
        CHECK(isKept("picture.png") == row.isKept);
    }
    place.options.decodedFolder.clear();
    const auto table = place.open();
    CHECK_FALSE(isKept("picture.png"));
}

TEST_CASE("table: decoded pictures take no more of the disk than the presentation allows")
{
    TablePlace place;
    place.presentation(R"({"table": {"decodedMegabytes": 1}})");
    place.options.decodedFolder = place.folder.path(QStringLiteral("cache"));
    place.folder.write(QStringLiteral("picture.png"), "a");
    const auto table = place.open();
    const auto kept = Bedrock::DecodedFiles::shared();
    const auto source = kept->source(place.folder.path(QStringLiteral("picture.png")), "large");
    REQUIRE(source);
    kept->keep(*source, QByteArray(1 << 20, 'x')); // with its head more than a megabyte
    CHECK_FALSE(kept->find(*source));
    kept->keep(*source, QByteArray(1000000, 'x'));
    CHECK(kept->find(*source));
}
