#include "inspector/WidgetReport.hpp"

#include <Cascara/StyleEngine.hpp>
#include <Trellis/Application.hpp>
#include <Trellis/TextWidget.hpp>
#include <Trellis/Widget.hpp>
#include <Vecta/Angle.hpp>

#include <doctest/doctest.h>

#include <QJsonArray>

using namespace Host;

namespace
{
QJsonObject attribute(const QJsonObject& report, const char* name)
{
    return report.value("attributes").toObject().value(QLatin1String(name)).toObject();
}
}

TEST_CASE("widget report: it has the type, the names and the place of a widget")
{
    Trellis::Application application({800.f, 600.f});
    auto outer = Bedrock::makeIntrusive<Trellis::Widget>();
    outer->setCSSType("SheetWidget");
    outer->setCSSId("sheet");
    outer->addCSSClass("large");
    outer->addCSSClass("open");
    outer->setPseudoClass("valid-hover", true);
    outer->postConstruct();
    application.mainLayer()->addChild(outer);
    outer->setLocation({100, 50});
    outer->setSize({200, 100});
    outer->setScale(2.f);
    outer->setRotation(Vecta::degreesToRadians(90.f));
    outer->setOpacity(0.5f);

    const QJsonObject report = widgetReport(*outer);
    CHECK(report.value("id").toInt() == outer->id());
    CHECK(report.value("type") == "SheetWidget");
    CHECK(report.value("cssId") == "sheet");
    CHECK(report.value("classes") == QJsonArray{"large", "open"});
    CHECK(report.value("pseudoClasses") == QJsonArray{"valid-hover"});
    CHECK(report.value("rotation").toDouble() == doctest::Approx(Vecta::kPi / 2));
    CHECK(report.value("scale").toDouble() == doctest::Approx(2.0));
    CHECK(report.value("opacity").toDouble() == doctest::Approx(0.5));
    CHECK(report.value("visible").toBool());
    // Turned by a quarter about its top left corner, twice as large: upright bounds in the scene.
    const QJsonObject rect = report.value("rect").toObject();
    CHECK(rect.value("x").toDouble() == doctest::Approx(-100.0));
    CHECK(rect.value("y").toDouble() == doctest::Approx(50.0));
    CHECK(rect.value("width").toDouble() == doctest::Approx(200.0));
    CHECK(rect.value("height").toDouble() == doctest::Approx(400.0));
    CHECK(report.value("children").toArray().isEmpty());
}

TEST_CASE("widget report: each attribute has its value and the layer it comes from")
{
    Trellis::Application application({800.f, 600.f});
    auto& engine = Cascara::StyleEngine::instance();
    engine.addStyleSheet(QStringLiteral("TextWidget { font-size: 31px; opacity: 0.25 }"), QStringLiteral("test.css"));
    auto text = Bedrock::makeIntrusive<Trellis::TextWidget>();
    text->postConstruct();
    application.mainLayer()->addChild(text);
    text->setOpacity(0.75f);
    application.frame(0.0);

    QJsonObject report = widgetReport(*text);
    CHECK(attribute(report, "font-size").value("value").toString().toStdString() == "31");
    CHECK(attribute(report, "font-size").value("layer") == 1);
    CHECK(attribute(report, "opacity").value("value").toString().toStdString() == "0.75");
    CHECK(attribute(report, "opacity").value("layer") == 2);
    CHECK(attribute(report, "text").value("layer") == 0);

    engine.clearStyleSheets();
    report = widgetReport(*text);
    CHECK(attribute(report, "font-size").value("layer") == 0);
    CHECK(attribute(report, "opacity").value("layer") == 2);
}

TEST_CASE("widget report: children stand in it from the bottom to the top, hidden ones too")
{
    Trellis::Application application({800.f, 600.f});
    auto parent = Bedrock::makeIntrusive<Trellis::Widget>();
    parent->postConstruct();
    application.mainLayer()->addChild(parent);
    for (const char* id : {"a", "b", "c"}) {
        auto child = Bedrock::makeIntrusive<Trellis::Widget>();
        child->setCSSId(id);
        child->postConstruct();
        parent->addChild(child);
    }
    parent->children()[0]->raiseToTop();
    parent->setOpacity(0.f);

    const QJsonObject report = widgetReport(*parent);
    CHECK_FALSE(report.value("visible").toBool(true));
    const QJsonArray children = report.value("children").toArray();
    REQUIRE(children.size() == 3);
    CHECK(children[0].toObject().value("cssId") == "b");
    CHECK(children[1].toObject().value("cssId") == "c");
    CHECK(children[2].toObject().value("cssId") == "a");
    CHECK_FALSE(children[2].toObject().value("visible").toBool(true));
}
