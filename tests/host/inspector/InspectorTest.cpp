#include "inspector/Inspector.hpp"

#include "HttpTalk.hpp"
#include "inspector/TableLog.hpp"

#include <Bedrock/Trace.hpp>
#include <Lantern/PaintingThreads.hpp>
#include <ScriptedDatagrams.hpp>
#include <ScriptedInput.hpp>
#include <Tactile/TuioInput.hpp>
#include <Tavola/DataGathering.hpp>
#include <Trellis/Application.hpp>
#include <Trellis/Widget.hpp>

#include <Cascara/StyleEngine.hpp>

#include <doctest/doctest.h>

#include <QImage>
#include <QJsonArray>
#include <QJsonObject>

using namespace Host;

namespace
{
struct InspectorFixture
{
    explicit InspectorFixture(bool manualClock = true) : inspector({application, log, nullptr, manualClock})
    {
        QString error;
        REQUIRE_MESSAGE(inspector.listen(0, error), error.toStdString());
    }
    HttpReply get(const QByteArray& target) { return ask(inspector.port(), "GET", target); }
    HttpReply post(const QByteArray& target) { return ask(inspector.port(), "POST", target); }

    TableLog log;
    Trellis::Application application{{320.f, 200.f}};
    Inspector inspector;
};
}

TEST_CASE("inspector: the first page lists the others")
{
    InspectorFixture f;
    const HttpReply reply = f.get("/");
    CHECK(reply.status == 200);
    CHECK(reply.head.contains("Content-Type: text/plain; charset=utf-8\r\n"));
    for (const char* page :
         {"/tree", "/styles", "/screenshot.png", "/log", "/analytics", "/input", "/grabs", "/status", "/frames"})
        CHECK_MESSAGE(reply.body.contains(page), page);
    CHECK(f.get("/none").status == 404);
}

TEST_CASE("inspector: the tree is the table's, with everything that is in it")
{
    InspectorFixture f;
    auto widget = Bedrock::makeIntrusive<Trellis::Widget>();
    widget->setCSSType("PictureWidget");
    widget->setCSSId("map");
    widget->postConstruct();
    widget->setSize({30, 20});
    f.application.mainLayer()->addChild(widget);
    f.application.frame(0.0);

    const HttpReply reply = f.get("/tree");
    CHECK(reply.status == 200);
    CHECK(reply.head.contains("Content-Type: application/json\r\n"));
    const QJsonObject root = reply.json().object();
    CHECK(root.value("id").toInt() == f.application.mainLayer()->id());
    CHECK(root.value("rect").toObject() == QJsonObject{{"x", 0}, {"y", 0}, {"width", 320}, {"height", 200}});
    const QJsonArray children = root.value("children").toArray();
    REQUIRE(children.size() == 1);
    CHECK(children[0].toObject().value("type") == "PictureWidget");
    CHECK(children[0].toObject().value("cssId") == "map");
}

TEST_CASE("inspector: the screenshot is a PNG of the table's size that shows the table")
{
    InspectorFixture f;
    auto widget = Bedrock::makeIntrusive<Trellis::Widget>();
    widget->postConstruct();
    f.application.mainLayer()->addChild(widget);
    widget->setLocation({100, 50});
    widget->setSize({40, 40});
    auto* color = widget->attribute("background-color");
    REQUIRE(color);
    REQUIRE(dynamic_cast<Facet::AttributeT<Bedrock::Color>*>(color));
    static_cast<Facet::AttributeT<Bedrock::Color>*>(color)->setValue(Bedrock::Color::fromString(QStringLiteral("#ff0000")));
    f.application.frame(0.0);

    const HttpReply reply = f.get("/screenshot.png");
    CHECK(reply.status == 200);
    CHECK(reply.head.contains("Content-Type: image/png\r\n"));
    QImage picture;
    REQUIRE(picture.loadFromData(reply.body, "PNG"));
    CHECK(picture.size() == QSize(320, 200));
    CHECK(picture.pixelColor(120, 70) == QColor(255, 0, 0));
    CHECK(picture.pixelColor(10, 10) == QColor(0, 0, 0));
}

TEST_CASE("inspector: the log has level and text of every line, oldest first")
{
    InspectorFixture f;
    Bedrock::Trace::info("Table # opened");
    Bedrock::Trace::warning("Table # \"ü\" is odd");
    Bedrock::Trace::error("Table # broken");
    CHECK(f.get("/log").json().array()
          == QJsonArray{QJsonObject{{"level", "info"}, {"text", "Table # opened"}},
                        QJsonObject{{"level", "warning"}, {"text", "Table # \"ü\" is odd"}},
                        QJsonObject{{"level", "error"}, {"text", "Table # broken"}}});
}

TEST_CASE("inspector: analytics are the events that were logged")
{
    InspectorFixture f;
    CHECK(f.get("/analytics").json().array().isEmpty());
    Tavola::DataGathering::logEventToService({QStringLiteral("visit"), QJsonObject{{"code", 1001}}});
    CHECK(f.get("/analytics").json().array()
          == QJsonArray{QJsonObject{{"type", "visit"}, {"data", QJsonObject{{"code", 1001}}}}});
}

TEST_CASE("inspector: under the manual clock frames run as they are asked for")
{
    InspectorFixture f;
    HttpReply reply = f.post("/frames?count=30&dt=0.1");
    CHECK(reply.status == 200);
    CHECK(reply.json().object().value("time").toDouble() == doctest::Approx(3.0));
    CHECK(reply.json().object().value("frame").toInt() == 30);
    CHECK(reply.json().object().value("milliseconds").toDouble() > 0.0);
    CHECK(reply.json().object().value("manualClock").toBool());
    CHECK(f.application.time() == doctest::Approx(3.0));

    reply = f.post("/frames");
    CHECK(reply.json().object().value("frame").toInt() == 31);
    CHECK(f.application.time() == doctest::Approx(3.0 + 1.0 / 60.0));
    CHECK(f.post("/frames?dt=0").status == 200);
    CHECK(f.application.time() == doctest::Approx(3.0 + 1.0 / 60.0));
    CHECK(f.get("/status").json().object().value("frame").toInt() == 32);
}

TEST_CASE("inspector: frames with arguments that make no sense do not run")
{
    InspectorFixture f;
    for (const char* query : {"count=0", "count=-1", "count=x", "count=1.5", "count=100001", "count=99999999999", "dt=-1", "dt=x",
                              "dt=nan", "dt=inf", "dt=11"}) {
        CAPTURE(query);
        const HttpReply reply = f.post("/frames?" + QByteArray(query));
        CHECK(reply.status == 400);
        CHECK(reply.body == "count is a whole number from 1 to 100000, dt seconds from 0 to 10\n");
    }
    CHECK(f.application.frameNumber() == 0);
    CHECK(f.get("/frames?count=1").status == 405);
    CHECK(f.application.frameNumber() == 0);
}

TEST_CASE("inspector: without the manual clock it runs no frames")
{
    InspectorFixture f(false);
    const HttpReply reply = f.post("/frames?count=1");
    CHECK(reply.status == 403);
    CHECK(reply.body == "frames run by the clock; start the table with --manual-clock to run them by hand\n");
    CHECK(f.application.frameNumber() == 0);
    CHECK_FALSE(f.get("/status").json().object().value("manualClock").toBool(true));
}

TEST_CASE("inspector: its pages can only be read")
{
    InspectorFixture f;
    for (const char* page : {"/", "/tree", "/screenshot.png", "/log", "/analytics", "/input", "/status"}) {
        CAPTURE(page);
        CHECK(f.post(page).status == 405);
        CHECK(ask(f.inspector.port(), "HEAD", page).status == 200);
    }
}

TEST_CASE("inspector: the input's counts name what was dropped")
{
    const TableLog log;
    Trellis::Application application({320.f, 200.f});
    Tactile::TuioInput input;
    auto datagrams = std::make_unique<TestSupport::ScriptedDatagrams>();
    auto* source = datagrams.get();
    REQUIRE(input.addSource(std::move(datagrams)));
    Inspector inspector({application, log, &input, true});
    QString error;
    REQUIRE(inspector.listen(0, error));

    source->send({'x', 'y'});
    source->send({});
    const QJsonObject report = ask(inspector.port(), "GET", "/input").json().object();
    CHECK(report.value("datagramsReceived").toInt() == 2);
    CHECK(report.value("drops").toObject().value("malformed").toInt() == 2);
    CHECK(report.value("drops").toObject().value("unknownMessage").toInt(-1) == 0);
    CHECK(report.value("sources").isArray());
}

TEST_CASE("inspector: the cards on the table are reported with their holders")
{
    InspectorFixture f;
    TestSupport::ScriptedInput input;
    f.application.addInputSource(input);
    auto tray = Bedrock::makeIntrusive<Trellis::Widget>();
    tray->setCSSType("TrayWidget");
    tray->setCSSId("tray");
    tray->postConstruct();
    f.application.mainLayer()->addChild(tray);
    tray->setSize({100, 100});
    f.application.frame(0.0);
    CHECK(f.get("/grabs").json().array().isEmpty());

    const auto held = input.markerDown(18446744073709551615ul, {50, 50});
    const auto free = input.markerDown(7, {200, 150});
    f.application.frame(0.0);
    const QJsonObject holder{{"id", qint64(tray->id())}, {"type", "TrayWidget"}, {"cssId", "tray"}};
    CHECK(f.get("/grabs").json().array()
          == QJsonArray{QJsonObject{{"id", qint64(held)}, {"code", "18446744073709551615"}, {"holder", holder}},
                        QJsonObject{{"id", qint64(free)}, {"code", "7"}, {"holder", QJsonValue()}}});

    f.application.removeInputSource(input);
}

TEST_CASE("inspector: what the style sheets say about a widget is reported by its id in the tree")
{
    InspectorFixture f;
    Cascara::StyleEngine::instance().addStyleSheet(QStringLiteral("#map { width: 30px }"), QStringLiteral("hall.css"));
    auto widget = Bedrock::makeIntrusive<Trellis::Widget>();
    widget->setCSSId("map");
    f.application.mainLayer()->addChild(widget);
    const QByteArray id = QByteArray::number(qlonglong(widget->id()));
    CHECK(
        f.get("/styles?id=" + id).json().array()
        == QJsonArray{QJsonObject{
            {"attribute", "width"}, {"value", "30px"}, {"selector", "#map"}, {"sheet", "hall.css"}, {"line", 1}, {"column", 8}}});
    CHECK(f.get("/styles").status == 400);
    CHECK(f.get("/styles?id=map").status == 400);
    widget->removeFromParent();
    CHECK(f.get("/styles?id=" + id).status == 404);
    Cascara::StyleEngine::instance().clearStyleSheets();
}

TEST_CASE("inspector: a port that is taken is reported")
{
    InspectorFixture f;
    Inspector second({f.application, f.log, nullptr, false});
    QString error;
    CHECK_FALSE(second.listen(f.inspector.port(), error));
    CHECK(error.startsWith(QLatin1String("Cannot listen on 127.0.0.1 port ")));
}

TEST_CASE("inspector: the status names the memory of kept pictures, its budget and the painting threads")
{
    InspectorFixture f;
    f.application.setPictureBudget(std::size_t(3) << 20);
    const QJsonObject alone = f.get("/status").json().object();
    CHECK(alone.value("paintingThreads").toInt() == 1);
    const QJsonObject pictures = alone.value("keptPictures").toObject();
    CHECK(pictures.value("count").toInt(-1) == 0);
    CHECK(pictures.value("bytes").toInt(-1) == 0);
    CHECK(pictures.value("budgetBytes").toInt() == 3 << 20);
    const Lantern::PaintingThreads threads(3);
    CHECK(f.get("/status").json().object().value("paintingThreads").toInt() == 3);
}
