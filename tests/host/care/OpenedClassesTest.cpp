#include "care/OpenedClasses.hpp"

#include "CareTable.hpp"

#include <Facet/AttributeT.hpp>
#include <Tavola/LaunchedContentOperator.hpp>

#include <doctest/doctest.h>

using Vecta::Vector2f;

namespace
{
/// Two detectors, the first one on the left, and content that opens something at its cards.
struct OpenedClassesFixture
{
    OpenedClassesFixture()
    {
        for (OpeningArea* const area : {table.area.get(), right.get()}) {
            area->setCSSType("Area");
            area->setSize({960.f, 1080.f});
        }
        table.area->addCSSClass("left");
        right->addCSSClass("right");
        right->postConstruct();
        table.host.mainWidget().addChild(right);
        right->setLocation({960.f, 0.f});
        content->postConstruct();
        content->setSize({200.f, 200.f});
        table.host.mainWidget().addChild(content);
        content->setLocation({1400.f, 400.f});
        content->eventAddListener("marker-down", [this] { openOnContent(); });
        table.host.frame();
    }

    void openOnContent()
    {
        const auto widget = Bedrock::makeIntrusive<Trellis::Widget>();
        widget->postConstruct();
        widget->addCSSClass("opened");
        table.host.mainWidget().addChild(widget);
        widget->setCenterLocation(kOnContent);
        onContent = widget.get();
    }

    /// Puts a card on the content. What opens there.
    Trellis::Widget& openedOnContent()
    {
        table.host.input.markerDown(1001, kOnContent);
        table.host.frame();
        REQUIRE(onContent);
        return *onContent;
    }

    static constexpr Vector2f kOnContent{1500.f, 500.f};
    CareTable table;
    Bedrock::IntrusivePtr<OpeningArea> right = Bedrock::makeIntrusive<OpeningArea>();
    Facet::AttributeT<QString> leftFilters{table.area.get(), "marker-filters"};
    Facet::AttributeT<QString> rightFilters{right.get(), "marker-filters"};
    Bedrock::IntrusivePtr<Trellis::Widget> content = Bedrock::makeIntrusive<Trellis::Widget>();
    Trellis::Widget* onContent = nullptr; ///< what opened at the card on the content
};
}

TEST_CASE("opened classes: what opens has those of the widget that holds its card, in its first frame")
{
    OpenedClassesFixture f;
    f.table.host.style("Area.right { opened-classes: mail, large; }");
    f.table.host.input.markerDown(1001, {1200.f, 200.f});
    f.table.host.frame();
    REQUIRE(f.right->last);
    CHECK(f.right->last->hasCSSClass("mail"));
    CHECK(f.right->last->hasCSSClass("large"));
    f.table.host.input.markerDown(1002, {300.f, 200.f});
    f.table.host.frame();
    REQUIRE(f.table.area->last);
    CHECK_FALSE(f.table.area->last->hasCSSClass("mail"));
}

TEST_CASE("opened classes: what opens at a card on content has those of the first detector, wherever the content lies")
{
    OpenedClassesFixture f;
    f.table.host.style("Area.left { opened-classes: page; } Area.right { opened-classes: mail; }");
    f.table.host.input.markerDown(1001, OpenedClassesFixture::kOnContent);
    f.table.host.frame();
    REQUIRE(f.onContent);
    CHECK(f.onContent->hasCSSClass("page"));
    CHECK_FALSE(f.onContent->hasCSSClass("mail"));
}

TEST_CASE("opened classes: what opens at a card on content has none where the first detector names none")
{
    OpenedClassesFixture f;
    f.table.host.style("Area.right { opened-classes: mail; }");
    f.table.host.input.markerDown(1001, OpenedClassesFixture::kOnContent);
    f.table.host.frame();
    REQUIRE(f.onContent);
    CHECK_FALSE(f.onContent->hasCSSClass("mail"));
}

TEST_CASE("opened classes: a list on what is no detector counts for nothing that opens at a card on content")
{
    OpenedClassesFixture f;
    f.table.host.style(".tavola-background { opened-classes: wrong; } Area.left { opened-classes: page; }");
    const Trellis::Widget& opened = f.openedOnContent();
    CHECK(opened.hasCSSClass("page"));
    CHECK_FALSE(opened.hasCSSClass("wrong"));
}

TEST_CASE("opened classes: a detector of another class that comes first takes the cards on content")
{
    OpenedClassesFixture f;
    f.table.area->setCSSType("OtherArea");
    f.table.host.style("OtherArea { opened-classes: other; } Area { opened-classes: page; }");
    const Trellis::Widget& opened = f.openedOnContent();
    CHECK(opened.hasCSSClass("other"));
    CHECK_FALSE(opened.hasCSSClass("page"));
}

TEST_CASE("opened classes: content gives what opens at its cards nothing of its own")
{
    OpenedClassesFixture f;
    f.content->addCSSClass("content");
    f.table.host.style(".content { opened-classes: wrong; }");
    CHECK_FALSE(f.openedOnContent().hasCSSClass("wrong"));
}

TEST_CASE("opened classes: a detector that something observes has its own list, and no other one's")
{
    OpenedClassesFixture f;
    f.table.host.style("Area.left { opened-classes: page; }");
    f.right->eventAddListener("marker-down", [] {});
    f.table.host.input.markerDown(1001, {1200.f, 200.f});
    f.table.host.frame();
    REQUIRE(f.right->last);
    CHECK_FALSE(f.right->last->hasCSSClass("page"));
}

TEST_CASE("opened classes: content that opens by itself at a card has them, too")
{
    OpenedClassesFixture f;
    f.table.host.style("Area.right { opened-classes: mail; }");
    const auto launched = Bedrock::makeIntrusive<Trellis::Widget>();
    launched->postConstruct();
    launched->setSize({100.f, 100.f});
    launched->setInputEnabled(false); // the card goes to the detector
    f.table.host.mainWidget().addChild(launched);
    launched->addOperator(Bedrock::makeIntrusive<Tavola::LaunchedContentOperator>(false, Vector2f{1200.f, 200.f}, 0.3f));
    f.table.host.input.markerDown(1001, {1200.f, 200.f});
    f.table.host.frame();
    CHECK(launched->hasCSSClass("mail"));
}
