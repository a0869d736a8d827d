#include "care/CardSigns.hpp"

#include "CareTable.hpp"
#include "care/CareStyles.hpp"

#include <Tavola/MarkerDetectorWidget.hpp>
#include <Tavola/WidgetInstance.hpp>
#include <Trellis/TextWidget.hpp>

#include <doctest/doctest.h>

#include <cmath>

using Vecta::Vector2f;

namespace
{
/// As a plug-in gives it to what takes cards.
class DetectorInstance final : public Tavola::WidgetInstance
{
public:
    using WidgetInstance::WidgetInstance;
};

struct CardSignsFixture
{
    CardSignsFixture()
    {
        host.style(Host::careStyleSheet(0.55f));
        // Cards on the right half go to the area, those on the left half to nothing.
        table.area->setLocation({960.f, 0.f});
        table.area->setSize({960.f, 1080.f});
        // What takes cards has a listener, as what plug-ins make from a style has.
        table.area->eventAddListener("marker-down", [] {});
        host.frame();
    }

    std::int64_t put(unsigned long code, Vector2f point, float angle = 0.f)
    {
        const auto id = host.input.markerDown(code, point, angle);
        host.frame();
        return id;
    }
    void lift(std::int64_t card)
    {
        host.input.markerUp(card);
        host.frame();
    }
    Trellis::Widget& addContent(Vector2f location)
    {
        const auto widget = Bedrock::makeIntrusive<Trellis::Widget>();
        widget->postConstruct();
        widget->setSize({300.f, 300.f});
        host.mainWidget().addChild(widget);
        widget->setLocation(location);
        return *widget;
    }
    /// What takes cards, as a plug-in's component makes it.
    Trellis::Widget& addDetector()
    {
        const auto component = std::make_shared<Tavola::CustomWidgetInstanceComponent>(
            [] { return Bedrock::makeIntrusive<Trellis::Widget>(); },
            [](auto made, auto widget) { return std::make_shared<DetectorInstance>(std::move(made), std::move(widget)); });
        const auto detector = component->createContentWidget();
        REQUIRE(detector);
        host.mainWidget().addChild(detector);
        return *detector;
    }
    std::vector<Trellis::Widget*> signs() { return host.app().mainLayer()->findAllByType("CardSign"); }
    bool shows(const char* reason)
    {
        const auto found = signs();
        return found.size() == 1 && found[0]->cssClasses().contains(reason);
    }

    CareTable table;
    TestSupport::TestHost& host = table.host;
};
}

TEST_CASE("card signs: a card that the registry does not know is answered in its first frame, until it is lifted")
{
    CardSignsFixture f;
    const auto card = f.put(5555, {300.f, 500.f});
    CHECK(f.shows("unknown"));
    f.host.frames(60);
    CHECK(f.shows("unknown"));
    f.lift(card);
    CHECK(f.signs().empty());
}

TEST_CASE("card signs: a known card that nothing takes here is refused")
{
    CardSignsFixture f;
    f.host.addPerson(1001, QStringLiteral("Ann"));
    f.put(1001, {300.f, 500.f});
    CHECK(f.shows("refused"));
}

TEST_CASE("card signs: a card on something that takes none is covered, and on something that does has no sign")
{
    CardSignsFixture f;
    Trellis::Widget& content = f.addContent({200.f, 400.f});
    f.put(1001, {300.f, 500.f});
    CHECK(f.shows("covered"));
    content.eventAddListener("marker-down", [] {});
    f.host.frame();
    CHECK(f.signs().empty());
}

TEST_CASE("card signs: a card that opens something has none")
{
    CardSignsFixture f;
    f.put(1001, {1400.f, 500.f});
    CHECK(f.signs().empty());
    f.host.frames(60);
    CHECK(f.signs().empty());
}

TEST_CASE("card signs: a card on another person's space has a sign, and one on its own space has none")
{
    CardSignsFixture f;
    f.host.addPerson(1001, QStringLiteral("Ann"));
    const auto own = f.put(1001, {1400.f, 500.f});
    f.host.frames(30);
    const auto other = f.put(1002, {1400.f, 700.f});
    CHECK(f.shows("other-space"));
    f.host.input.markerUp(other);
    f.lift(own);
    f.put(1001, {1400.f, 700.f});
    CHECK(f.signs().empty());
}

TEST_CASE("card signs: a card keeps its sign when what it lies on goes, since nothing takes it before it is put down again")
{
    CardSignsFixture f;
    f.host.addPerson(1002, QStringLiteral("Ben"));
    f.put(1001, {1400.f, 500.f});
    Trellis::Widget* const space = f.table.area->last;
    f.host.frames(30);
    const auto card = f.put(1002, {1400.f, 700.f});
    REQUIRE(f.shows("other-space"));
    space->removeFromParent();
    f.host.frames(2);
    CHECK(f.shows("other-space"));
    f.lift(card);
    f.put(1002, {300.f, 700.f});
    CHECK(f.shows("refused"));
}

TEST_CASE("card signs: a card on another person's space has a sign even when a plug-in's component made that space")
{
    CardSignsFixture f;
    f.table.area->component = std::make_shared<Tavola::WidgetComponent>([] { return Bedrock::makeIntrusive<Trellis::Widget>(); });
    f.put(1001, {1400.f, 500.f});
    REQUIRE(Tavola::Tavola::instance()->widgetInstance(f.table.area->last->id()));
    f.host.frames(30);
    f.put(1002, {1400.f, 700.f});
    CHECK(f.shows("other-space"));
}

TEST_CASE("card signs: a card that becomes known while it lies there is asked to be put down again")
{
    CardSignsFixture f;
    const auto card = f.put(1001, {300.f, 500.f});
    REQUIRE(f.shows("unknown"));
    f.host.addPerson(1001, QStringLiteral("Ann"));
    f.host.frames(2);
    CHECK(f.shows("again"));
    CHECK_FALSE(f.shows("unknown"));
    f.lift(card);
    f.put(1001, {300.f, 500.f});
    CHECK(f.shows("refused"));
}

TEST_CASE("card signs: a card on its own space is asked to be put down again when that closes")
{
    CardSignsFixture f;
    f.host.addPerson(1001, QStringLiteral("Ann"));
    const auto opener = f.put(1001, {1400.f, 500.f});
    Trellis::Widget* const space = f.table.area->last;
    f.host.frames(30);
    f.lift(opener);
    const auto card = f.put(1001, {1400.f, 700.f});
    REQUIRE(f.signs().empty());
    space->removeFromParent();
    f.host.frames(2);
    CHECK(f.shows("again"));
    f.lift(card);
    f.put(1001, {300.f, 500.f});
    CHECK(f.shows("refused"));
}

TEST_CASE("card signs: a card whose detector goes has no sign as long as its space is open")
{
    CardSignsFixture f;
    f.host.addPerson(1001, QStringLiteral("Ann"));
    f.put(1001, {1400.f, 500.f});
    Trellis::Widget* const space = f.table.area->last;
    f.table.area->removeFromParent();
    f.host.frames(2);
    CHECK(f.signs().empty());
    space->removeFromParent();
    f.host.frames(2);
    CHECK(f.shows("again"));
}

TEST_CASE("card signs: a card that was held before it was lifted is new when it is put down again")
{
    CardSignsFixture f;
    f.host.addPerson(1001, QStringLiteral("Ann"));
    f.host.input.markerUp(f.put(1001, {1400.f, 500.f}));
    f.table.area->last->removeFromParent();
    f.host.frame();
    const auto card = f.put(1001, {300.f, 500.f});
    auto* const grabber = f.host.app().grabManager()->grabber(card);
    REQUIRE(grabber);
    f.host.app().grabManager()->ungrab(card, *grabber);
    f.host.frame();
    CHECK(f.shows("refused"));
}

TEST_CASE("card signs: an unknown card stays unknown when the host's own detector takes it")
{
    CardSignsFixture f;
    const auto detector = Bedrock::makeIntrusive<Tavola::MarkerDetectorWidget>(f.host.ui().internalOverlayWidget().get());
    const auto card = f.put(5555, {300.f, 500.f});
    f.host.app().grabManager()->transferGrab(card, detector->inputGrabber());
    f.host.frame();
    CHECK(f.shows("unknown"));
}

TEST_CASE("card signs: a card that a detector takes has none, though nothing opens that is remembered")
{
    CardSignsFixture f;
    f.host.addPerson(2001, QStringLiteral("The garden"));
    f.table.area->removeFromParent();
    Trellis::Widget& detector = f.addDetector();
    detector.setSize({960.f, 1080.f});
    const auto card = f.put(2001, {300.f, 500.f});
    REQUIRE(&f.host.app().grabManager()->grabber(card)->widget() == &detector);
    f.host.frames(2);
    CHECK(f.signs().empty());
}

TEST_CASE("card signs: a refused card is asked to be put down again when a detector opens under it")
{
    CardSignsFixture f;
    f.host.addPerson(1001, QStringLiteral("Ann"));
    const auto card = f.put(1001, {300.f, 500.f});
    REQUIRE(f.shows("refused"));
    Trellis::Widget& detector = f.addDetector();
    f.host.app().grabManager()->transferGrab(card, detector.inputGrabber());
    f.host.frames(2);
    CHECK(f.shows("again"));
}

TEST_CASE("card signs: content that a component made takes no card, and is answered as covering the table")
{
    CardSignsFixture f;
    const auto component = std::make_shared<Tavola::WidgetComponent>([] { return Bedrock::makeIntrusive<Trellis::Widget>(); });
    const auto content = component->createContentWidget();
    REQUIRE(content);
    f.host.mainWidget().addChild(content);
    content->setSize({300.f, 300.f});
    content->setLocation({200.f, 400.f});
    f.put(1001, {300.f, 500.f});
    CHECK(f.shows("covered"));
}

TEST_CASE("card signs: the second of two cards with one code is marked in addition")
{
    CardSignsFixture f;
    f.put(5555, {300.f, 300.f});
    f.put(5555, {300.f, 800.f});
    const auto signs = f.signs();
    REQUIRE(signs.size() == 2);
    CHECK_FALSE(signs[0]->hasCSSClass("twice"));
    CHECK(signs[1]->hasCSSClass("twice"));
    CHECK(signs[1]->hasCSSClass("unknown"));
}

TEST_CASE("card signs: the second of two cards with one code has a sign where both open something, until the first is lifted")
{
    CardSignsFixture f;
    const auto first = f.put(1001, {1400.f, 200.f});
    REQUIRE(f.signs().empty());
    f.put(1001, {1400.f, 800.f});
    f.host.frames(30);
    const auto signs = f.signs();
    REQUIRE(signs.size() == 1);
    CHECK((CareTable::center(*signs[0]) - Vector2f(1400.f, 800.f)).length() < 0.2f);
    CHECK(signs[0]->cssClasses() == QList<QByteArray>{"twice"});
    f.lift(first);
    CHECK(f.signs().empty());
}

TEST_CASE("card signs: the second of two cards with one code has a sign on what the first one opened")
{
    CardSignsFixture f;
    f.put(1001, {1400.f, 500.f});
    f.host.frames(30);
    f.put(1001, {1400.f, 700.f});
    CHECK(f.shows("twice"));
}

TEST_CASE("card signs: a sign loses \"twice\" when the other card is lifted, and keeps its reason")
{
    CardSignsFixture f;
    const auto first = f.put(5555, {300.f, 300.f});
    f.put(5555, {300.f, 800.f});
    f.lift(first);
    CHECK(f.shows("unknown"));
    CHECK_FALSE(f.shows("twice"));
}

TEST_CASE("card signs: a sign without words shows no ground for them")
{
    CardSignsFixture f;
    f.host.style("CardSign.again > .card-sign-text { text: \"Once more, please.\"; }");
    f.put(5555, {300.f, 500.f});
    const Trellis::Widget& words = *f.signs()[0]->children()[0];
    CHECK_FALSE(words.isVisible());
    f.host.addPerson(5555, QStringLiteral("Eve"));
    f.host.frame();
    REQUIRE(f.shows("again"));
    CHECK(words.isVisible());
}

TEST_CASE("card signs: a sign follows its card, turned to its holder")
{
    CardSignsFixture f;
    const auto card = f.put(5555, {300.f, 500.f}, 0.5f);
    CHECK((CareTable::center(*f.signs()[0]) - Vector2f(300.f, 500.f)).length() < 0.2f);
    CHECK(f.signs()[0]->rotation() == doctest::Approx(0.5f + 1.5707963f));
    f.host.input.markerMove(card, {400.f, 600.f}, 1.f);
    f.host.frame();
    CHECK((CareTable::center(*f.signs()[0]) - Vector2f(400.f, 600.f)).length() < 0.2f);
    CHECK(f.signs()[0]->rotation() == doctest::Approx(1.f + 1.5707963f));
}

TEST_CASE("card signs: the author's words stand in the sign")
{
    CardSignsFixture f;
    f.host.style("CardSign.unknown > .card-sign-text { text: \"Who are you?\"; }");
    f.put(5555, {300.f, 500.f});
    const auto* const text = dynamic_cast<const Trellis::TextWidget*>(f.signs()[0]->children()[0].get());
    REQUIRE(text);
    CHECK(text->text() == "Who are you?");
}

TEST_CASE("card signs: a sign takes neither a touch nor a card from what lies below it")
{
    CardSignsFixture f;
    const Trellis::Widget& content = f.addContent({200.f, 400.f});
    f.put(1001, {300.f, 500.f});
    REQUIRE(f.shows("covered"));
    f.host.input.fingerDown(1, {300.f, 450.f});
    f.host.frame();
    auto* const fingerHolder = f.host.app().grabManager()->grabber(1);
    REQUIRE(fingerHolder);
    CHECK(&fingerHolder->widget() == &content);
    const auto second = f.put(1002, {310.f, 520.f});
    auto* const cardHolder = f.host.app().grabManager()->grabber(second);
    REQUIRE(cardHolder);
    CHECK(&cardHolder->widget() == &content);
}

TEST_CASE("card signs: a card keeps \"covered\" when the picture under it is taken away")
{
    CardSignsFixture f;
    f.host.addPerson(1001, QStringLiteral("Ann"));
    Trellis::Widget& content = f.addContent({200.f, 400.f});
    f.put(1001, {300.f, 500.f});
    REQUIRE(f.shows("covered"));
    content.removeFromParent();
    f.host.frames(2);
    CHECK(f.shows("covered"));
}
