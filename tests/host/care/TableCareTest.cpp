#include "care/TableCare.hpp"

#include "CareTable.hpp"
#include "care/CareStyles.hpp"

#include <Cascara/StyleEngine.hpp>
#include <Tavola/ContentMenuWidget.hpp>
#include <Tavola/LaunchedContentOperator.hpp>

#include <doctest/doctest.h>

using Vecta::Vector2f;

namespace
{
constexpr char kGrowing[] = "@keyframes open { from { scale: 0.2; } } .opened { animation: open 0.3s; }";

void setReducedMotion(bool isReduced)
{
    auto& styles = Cascara::StyleEngine::instance();
    Cascara::Media media = styles.media();
    media.reducesMotion = isReduced;
    styles.setMedia(media);
}
}

TEST_CASE("table care: while visitors want less motion style sheets move nothing, and afterwards they do again")
{
    CareTable table;
    table.host.style(kGrowing);
    Trellis::Widget& root = *table.host.app().mainLayer();
    root.setPseudoClass("reduced-motion", true);
    table.host.frame();
    CHECK(table.open(1001, {960.f, 540.f}).scale() == 1.f);
    root.setPseudoClass("reduced-motion", false);
    table.host.frame();
    CHECK(table.open(1002, {500.f, 540.f}).scale() < 1.f);
}

TEST_CASE("table care: where a presentation reduces motion nothing glides, whatever visitors choose")
{
    setReducedMotion(true);
    {
        CareTable table;
        Trellis::Widget& root = *table.host.app().mainLayer();
        root.setPseudoClass("reduced-motion", true);
        table.host.frame();
        root.setPseudoClass("reduced-motion", false);
        const Trellis::Widget& opened = table.open(1001, {1900.f, 540.f});
        table.host.frame();
        CHECK(CareTable::center(opened).x < 1621.f);
        CHECK(Cascara::StyleEngine::instance().media().reducesMotion);
    }
    setReducedMotion(false);
}

TEST_CASE("table care: what it has changed of the style engine is as before when it goes")
{
    CareTable table;
    table.host.app().mainLayer()->setPseudoClass("reduced-motion", true);
    table.host.frame();
    REQUIRE(Cascara::StyleEngine::instance().media().reducesMotion);
    table.host.mainWidget().removeOperator(*table.host.mainWidget().operators().front());
    CHECK_FALSE(Cascara::StyleEngine::instance().media().reducesMotion);
}

TEST_CASE("table care: with less motion what a folder or a menu opens is there in its first frame")
{
    CareTable table;
    table.host.style(Host::careStyleSheet(0.55f));
    table.host.style("#slow { content-opening-duration: 2s; }");
    table.area->setInputEnabled(false);
    table.host.app().mainLayer()->setPseudoClass("reduced-motion", true);
    table.host.input.markerDown(1001, {900.f, 500.f});
    const auto launched = Bedrock::makeIntrusive<Trellis::Widget>();
    launched->postConstruct();
    launched->setSize({300.f, 200.f});
    table.host.mainWidget().addChild(launched);
    launched->addOperator(Bedrock::makeIntrusive<Tavola::LaunchedContentOperator>(false, Vector2f{900.f, 500.f}, 2.f));
    const auto menu = Bedrock::makeIntrusive<Tavola::ContentMenuWidget>(nullptr);
    menu->setCSSId("slow");
    menu->postConstruct();
    table.host.mainWidget().addChild(menu);
    table.host.frame();
    CHECK(launched->scale() == 1.f);
    CHECK(launched->opacity() == 1.f);
    CHECK(Facet::findAttribute<float>(*menu, "content-opening-duration")->value() == 0.f);
}
