#include "table/Table.hpp"

#include "TablePlace.hpp"
#include "TableSender.hpp"
#include "inspector/WidgetReport.hpp"
#include "presentation/ScreenView.hpp"

#include <Tactile/TuioEncoder.hpp>
#include <Tavola/Tavola.hpp>
#include <Tavola/UserInterface.hpp>
#include <Trellis/Application.hpp>
#include <Trellis/GrabManager.hpp>
#include <Trellis/Widget.hpp>

#include <EventLoop.hpp>

#include <doctest/doctest.h>

#include <QJsonArray>

#include <array>
#include <string>

using namespace Host;
using Vecta::Vector2f;

namespace
{
const std::array<QSize, 3> kScreens{QSize(1280, 800), QSize(1920, 1080), QSize(3840, 2160)};

/// The mailroom on a screen, with a tracker whose surface is that screen.
struct ShownTable
{
    explicit ShownTable(QSize screenPx) : screen(float(screenPx.width()), float(screenPx.height()))
    {
        place.presentationFolder = QStringLiteral(TAVOLA_GALLERY "/../mailroom");
        place.options.plugin = QStringLiteral(TAVOLA_PLUGIN);
        place.options.screen = screenPx;
        table = place.open();
        sender.emplace(*table);
        frames(1);
        waitForPictures();
    }

    /// Their sizes are known when they are read, which other threads do.
    void waitForPictures()
    {
        REQUIRE(TestSupport::pumpUntil([this] {
            frames(1);
            return table->application().pendingImages() == 0;
        }));
        frames(2);
    }

    void frames(int count)
    {
        for (int i = 0; i < count; ++i)
            table->frame(1.0 / 60.0);
    }
    Vector2f onScreen(Vector2f layoutPoint) const
    {
        return ScreenView(ScreenFit::Scale, {1920.f, 1080.f}, screen).toScreen().map(layoutPoint);
    }
    /// A point of the screen, as the tracker sends it.
    Vector2f sent(Vector2f screenPoint) const { return {screenPoint.x / screen.x, screenPoint.y / screen.y}; }

    void card(int code, Vector2f screenPoint)
    {
        encoder.begin(Tactile::TuioProfile::Objects);
        encoder.alive({1});
        encoder.setObject(1, code, sent(screenPoint).x, sent(screenPoint).y, 0.f);
        sender->send(encoder.finish(++frameNumber));
        frames(60);
    }
    void finger(std::optional<Vector2f> screenPoint)
    {
        encoder.begin(Tactile::TuioProfile::Cursors);
        encoder.alive(screenPoint ? std::vector<std::int32_t>{2} : std::vector<std::int32_t>{});
        if (screenPoint)
            encoder.setCursor(2, sent(*screenPoint).x, sent(*screenPoint).y);
        sender->send(encoder.finish(++frameNumber));
        frames(1);
    }
    /// Taps the middle of a widget where the screen shows it; whether exactly this widget received the tap.
    bool tap(Trellis::Widget& widget)
    {
        const Bedrock::IntrusivePtr<Trellis::Widget> kept(&widget);
        int taps = 0;
        const auto listener = widget.eventAddListener("single-tap", [&taps] { ++taps; });
        const Vector2f middle = onScreen(widget.mapToScene(widget.size() / 2.f));
        finger(middle);
        finger(std::nullopt);
        frames(60);
        widget.eventRemoveListener(listener);
        return taps == 1;
    }
    Trellis::Widget& space() const
    {
        Trellis::Widget* const found = Trellis::Application::instance()->mainLayer()->findByType("PersonalSpaceWidget");
        REQUIRE(found);
        return *found;
    }
    Trellis::Widget& part(const char* cssClass) const
    {
        for (const auto& child : space().children())
            if (child->hasCSSClass(cssClass))
                return *child;
        FAIL("no part of class " << cssClass);
        return space();
    }

    TablePlace place;
    Vector2f screen;
    std::unique_ptr<Table> table;
    std::optional<TableSender> sender;
    Tactile::TuioEncoder encoder;
    int frameNumber = 0;
};

/// Type, classes and place of each widget: ids of nodes differ from table to table.
void describe(const Trellis::Widget& widget, std::string& text)
{
    const Vecta::Rect rect = widget.sceneBounds();
    text += widget.cssType().toStdString() + "#" + widget.cssId().toStdString();
    for (const float value : {rect.x, rect.y, rect.width, rect.height})
        text += " " + std::to_string(std::lround(value * 10.f));
    text += "\n";
    for (const auto& child : widget.children())
        describe(*child, text);
}
}

TEST_CASE("any screen: the widgets are the same on every screen, and a tap on the middle of a button hits it")
{
    std::string first;
    for (const QSize& screen : kScreens) {
        CAPTURE(screen.width());
        ShownTable shown(screen);
        CHECK(shown.table->application().size() == Vector2f(1920.f, 1080.f));
        shown.card(1004, shown.onScreen({1056.f, 594.f}));
        shown.waitForPictures();
        std::string tree;
        describe(*shown.table->application().mainLayer(), tree);
        if (first.empty())
            first = tree;
        CHECK(tree == first);
        CHECK(shown.tap(shown.part("help-button")));
        CHECK(shown.tap(shown.part("help-button")));
        CHECK(shown.tap(shown.part("info")));
        shown.space().addCSSClass("has-content"); // an empty sheet is not sent
        CHECK(shown.tap(shown.part("envelope")));
        CHECK(shown.tap(shown.part("cancel-button")));
        Trellis::Widget* const handle = shown.space().findByType("CloseHandle");
        REQUIRE(handle);
        CHECK(shown.tap(*handle));
    }
}

TEST_CASE("any screen: what begins in a bar is dropped, and the table's edge is the edge of the bar")
{
    ShownTable shown(kScreens[0]);
    const auto& sample = shown.table->application().grabManager()->currentSample();
    shown.finger(Vector2f(640.f, 20.f));
    CHECK(sample.fingers.empty());
    shown.finger(std::nullopt);
    shown.finger(Vector2f(640.f, 42.f));
    REQUIRE(sample.fingers.size() == 1);
    CHECK((sample.fingers[0].centerLocation() - Vector2f(960.f, 3.f)).length() < 0.5f);
}

TEST_CASE("any screen: a listener with a rectangle of its own keeps it, and drops nothing")
{
    TablePlace place;
    place.presentation(R"({"table": {"width": 800, "height": 600},
                           "input": [{"tuio": "127.0.0.1:0", "rect": [0, 0, 400, 600]}]})");
    place.options.listener.reset();
    place.options.screen = QSize(1600, 600);
    const auto table = place.open();
    TableSender sender(*table);
    Tactile::TuioEncoder encoder;
    encoder.begin(Tactile::TuioProfile::Cursors);
    encoder.alive({1});
    encoder.setCursor(1, 0.1f, 0.5f);
    sender.send(encoder.finish(1));
    table->frame(0.02);
    const auto& fingers = table->application().grabManager()->currentSample().fingers;
    REQUIRE(fingers.size() == 1);
    CHECK((fingers[0].centerLocation() - Vector2f(40.f, 300.f)).length() < 0.1f);
}

TEST_CASE("any screen: \"fit\" of the presentation counts, and the option goes before it")
{
    TablePlace place;
    place.presentation(R"({"table": {"width": 800, "height": 600, "fit": "relayout"}})");
    place.options.screen = QSize(1000, 500);
    CHECK(place.open()->application().size() == Vector2f(1000.f, 500.f));
    place.options.fit = ScreenFit::Scale;
    CHECK(place.open()->application().size() == Vector2f(800.f, 600.f));
}

TEST_CASE("any screen: a recording made on a screen with bars is replayed on a table of the layout's size")
{
    TablePlace place;
    place.presentation(R"({"table": {"width": 800, "height": 600}})");
    place.options.screen = QSize(1600, 600);
    place.options.recordFile = place.folder.path(QStringLiteral("day.rec"));
    {
        const auto table = place.open();
        TableSender sender(*table);
        Tactile::TuioEncoder encoder;
        encoder.begin(Tactile::TuioProfile::Cursors);
        encoder.alive({1});
        encoder.setCursor(1, 0.5f, 0.5f);
        sender.send(encoder.finish(1));
        table->frame(0.02);
    }
    place.options.replayFile = place.options.recordFile;
    place.options.recordFile.clear();
    place.options.screen = QSize(333, 333);
    const auto replayed = place.open();
    CHECK(replayed->application().size() == Vector2f(800.f, 600.f));
    REQUIRE(replayed->frame(0.0));
    const auto& fingers = replayed->application().grabManager()->currentSample().fingers;
    REQUIRE(fingers.size() == 1);
    CHECK(fingers[0].centerLocation() == Vector2f(400.f, 300.f));
}
