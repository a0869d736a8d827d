#include "inspector/GrabReport.hpp"

#include <ScriptedInput.hpp>
#include <Trellis/Application.hpp>
#include <Trellis/GrabManager.hpp>
#include <Trellis/Widget.hpp>

#include <doctest/doctest.h>

#include <QJsonObject>

using namespace Host;

namespace
{
/// A table with a tray in its upper left corner.
struct GrabReportFixture
{
    GrabReportFixture()
    {
        application.addInputSource(input);
        tray->setCSSType("TrayWidget");
        tray->setCSSId("tray");
        tray->postConstruct();
        application.mainLayer()->addChild(tray);
        tray->setSize({100, 100});
        application.frame(0.0);
    }
    ~GrabReportFixture() { application.removeInputSource(input); }

    QJsonArray report()
    {
        application.frame(0.0);
        return grabReport(*application.grabManager());
    }
    QJsonObject entry(std::int64_t id, const char* code, const QJsonValue& holder) const
    {
        return {{"id", qint64(id)}, {"code", QLatin1String(code)}, {"holder", holder}};
    }
    QJsonObject trayEntry() const { return {{"id", qint64(tray->id())}, {"type", "TrayWidget"}, {"cssId", "tray"}}; }

    TestSupport::ScriptedInput input;
    Trellis::Application application{{320.f, 200.f}};
    Bedrock::IntrusivePtr<Trellis::Widget> tray = Bedrock::makeIntrusive<Trellis::Widget>();
};
}

TEST_CASE("grab report: a table without cards has none to tell of, whatever fingers do")
{
    GrabReportFixture f;
    CHECK(f.report().isEmpty());
    f.input.fingerDown(1, {50, 50});
    CHECK(f.report().isEmpty());
}

TEST_CASE("grab report: cards are in the order of the input, with their holders and whole codes")
{
    GrabReportFixture f;
    const auto free = f.input.markerDown(7, {200, 150});
    const auto held = f.input.markerDown(18446744073709551615ul, {50, 50});
    CHECK(f.report() == QJsonArray{f.entry(free, "7", QJsonValue()), f.entry(held, "18446744073709551615", f.trayEntry())});
}

TEST_CASE("grab report: a lifted card is not on the table, and a card whose holder was destroyed has none")
{
    GrabReportFixture f;
    const auto first = f.input.markerDown(7, {50, 50});
    const auto second = f.input.markerDown(8, {60, 60});
    REQUIRE(f.report().size() == 2);
    f.input.markerUp(first);
    CHECK(f.report() == QJsonArray{f.entry(second, "8", f.trayEntry())});
    f.application.mainLayer()->removeChild(*f.tray);
    CHECK(f.report() == QJsonArray{f.entry(second, "8", QJsonValue())});
}
