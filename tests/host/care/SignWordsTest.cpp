#include "care/SignWords.hpp"

#include "CareTable.hpp"
#include "care/CardOutline.hpp"
#include "care/CareStyles.hpp"
#include "care/ConvexShape.hpp"

#include <doctest/doctest.h>

#include <algorithm>
#include <cmath>
#include <vector>

using Vecta::Vector2f;

namespace
{
using Corners = std::vector<Vector2f>;

struct SignWordsFixture
{
    SignWordsFixture()
    {
        table.host.style(Host::careStyleSheet(0.55f));
        table.host.style("CardSign > .card-sign-text { text: 'Please ask us for another card.'; }");
        table.area->setInputEnabled(false); // nothing takes a card
        table.area->eventAddListener("marker-down", [] {});
        table.host.frame();
    }

    /// The words of the sign at a card that nothing takes.
    Trellis::Widget& put(Vector2f point, float angle = 0.f)
    {
        table.card = table.host.input.markerDown(9999, point, angle);
        table.host.frame();
        return words();
    }
    Trellis::Widget& words() { return *table.host.app().mainLayer()->findAllByType("CardSign").front()->children().front(); }

    static Corners cornersOf(const Trellis::Widget& widget)
    {
        const auto corners = widget.transformToScene().mapCorners({0.f, 0.f, widget.width(), widget.height()});
        return {corners.begin(), corners.end()};
    }
    bool covers(const Trellis::Widget& widget, const Tactile::Marker& card) const
    {
        const auto outline = Host::cardOutline(card, 0.55f);
        return Host::ConvexShape::placesOfOverlap(cornersOf(widget), {outline.begin(), outline.end()}).contains({});
    }
    bool isFreeOfCards(const Trellis::Widget& widget)
    {
        const auto& cards = table.host.app().grabManager()->currentSample().markers;
        return std::none_of(cards.begin(), cards.end(), [&](const auto& card) { return covers(widget, card); });
    }

    /// 24 cards in three rows, so near that the words of many stand elsewhere than style sheets put them.
    void putMany()
    {
        for (int i = 0; i < 24; ++i)
            many.push_back(table.host.input.markerDown(9000u + unsigned(i), placeOf(i), 4.712f));
        table.host.frames(2);
    }
    static Vector2f placeOf(int i) { return {150.f + 230.f * float(i % 8), 200.f + 320.f * float(i / 8)}; }
    int movedWords()
    {
        int count = 0;
        for (const Trellis::Widget* sign : table.host.app().mainLayer()->findAllByType("CardSign"))
            count += sign->children().front()->attribute("location")->hasValue(Facet::kUserLayer);
        return count;
    }

    CareTable table;
    std::vector<std::int64_t> many;
};
}

TEST_CASE("sign words: at every edge and however its card is turned they are whole on the table, and below no card")
{
    SignWordsFixture f;
    const Vecta::Rect table{-0.1f, -0.1f, 1920.2f, 1080.2f};
    for (const Vector2f point : {Vector2f(25.f, 25.f), Vector2f(960.f, 20.f), Vector2f(1900.f, 1060.f), Vector2f(20.f, 540.f)}) {
        for (int turn = 0; turn < 8; ++turn) {
            CAPTURE(point.x);
            CAPTURE(turn);
            const Trellis::Widget& words = f.put(point, float(turn) * 0.785f);
            for (const Vector2f corner : SignWordsFixture::cornersOf(words))
                CHECK(table.contains(corner));
            CHECK(f.isFreeOfCards(words));
            f.table.host.input.markerUp(f.table.card);
            f.table.host.frame();
        }
    }
}

TEST_CASE("sign words: where there is room they stand where style sheets put them, also after the card was at the edge")
{
    SignWordsFixture f;
    Trellis::Widget& words = f.put({960.f, 20.f}, 4.712f);
    CHECK(words.attribute("location")->hasValue(Facet::kUserLayer));
    f.table.host.input.markerMove(f.table.card, {960.f, 540.f}, 4.712f);
    f.table.host.frame();
    CHECK_FALSE(words.attribute("location")->hasValue(Facet::kUserLayer));
    CHECK(words.mapToScene(words.size() / 2.f).y < 540.f - 100.f);
    CHECK(words.mapToScene(words.size() / 2.f).x == doctest::Approx(960.f).epsilon(0.001));
}

TEST_CASE("sign words: they make room for what another card has opened, and come back when it goes")
{
    SignWordsFixture f;
    const Vector2f wanted = f.put({960.f, 540.f}, 4.712f).mapToScene(f.words().size() / 2.f);
    f.table.area->setInputEnabled(true);
    const Trellis::Widget& space = f.table.open(1001, {1250.f, 300.f});
    f.table.host.frames(30);
    REQUIRE(space.isInside(space.mapFromScene(wanted)));
    CHECK_FALSE(f.words().intersects(space));
    CHECK((f.words().mapToScene(f.words().size() / 2.f) - Vector2f(960.f, 540.f)).length() < 350.f);
    f.table.area->last->removeFromParent();
    f.table.host.frames(2);
    CHECK((f.words().mapToScene(f.words().size() / 2.f) - wanted).length() < 0.5f);
}

TEST_CASE("sign words: they make room when another card is turned where it lies")
{
    SignWordsFixture f;
    const Trellis::Widget& words = f.put({960.f, 540.f}, 4.712f);
    const float top = words.sceneBounds().y;
    // Content that takes a card, so that this one has no sign.
    const auto content = Bedrock::makeIntrusive<Trellis::Widget>();
    content->postConstruct();
    content->setSize({400.f, 300.f});
    f.table.host.mainWidget().addChild(content);
    content->setLocation({760.f, top - 310.f});
    content->eventAddListener("marker-down", [] {});
    const float halfCardPx = Host::kCardSideMm / 0.55f / 2.f;
    const auto other = f.table.host.input.markerDown(1001, {960.f, top - halfCardPx - 12.f}, 0.f);
    f.table.host.frame();
    CHECK_FALSE(words.attribute("location")->hasValue(Facet::kUserLayer));
    f.table.host.input.markerMove(other, {960.f, top - halfCardPx - 12.f}, 0.785f);
    f.table.host.frame();
    CHECK(f.isFreeOfCards(words));
}

TEST_CASE("sign words: they are whole on a table that got smaller")
{
    SignWordsFixture f;
    const Trellis::Widget& words = f.put({1500.f, 540.f}, 4.712f);
    f.table.host.app().resize({1560.f, 1080.f});
    f.table.host.frame();
    CHECK(words.sceneBounds().right() <= 1560.1f);
}

TEST_CASE("sign words: on another person's space they stay at their card")
{
    SignWordsFixture f;
    f.table.area->setInputEnabled(true);
    f.table.open(1001, {960.f, 540.f});
    f.table.host.frames(30);
    const Vector2f card{1100.f, 820.f};
    const Trellis::Widget& words = f.put(card, 4.712f);
    CHECK_FALSE(words.attribute("location")->hasValue(Facet::kUserLayer));
    CHECK((words.mapToScene(words.size() / 2.f) - card).length() < 200.f);
}

TEST_CASE("sign words: those of a later card make room for those of an earlier one, until that is lifted")
{
    SignWordsFixture f;
    f.put({960.f, 540.f}, 4.712f);
    const Vector2f before = f.words().mapToScene({});
    const auto second = f.table.host.input.markerDown(9998, {1120.f, 540.f}, 4.712f);
    f.table.host.frame();
    const auto signs = f.table.host.app().mainLayer()->findAllByType("CardSign");
    REQUIRE(signs.size() == 2);
    CHECK(f.words().mapToScene({}) == before);
    const Trellis::Widget& later = *signs[1]->children().front();
    CHECK_FALSE(later.intersects(f.words()));
    CHECK(later.attribute("location")->hasValue(Facet::kUserLayer));
    f.table.host.input.markerUp(f.table.card);
    f.table.host.frame();
    CHECK_FALSE(later.attribute("location")->hasValue(Facet::kUserLayer));
    f.table.host.input.markerUp(second);
}

TEST_CASE("sign words: they come back when the card whose words they make room for is taken")
{
    SignWordsFixture f;
    const auto content = Bedrock::makeIntrusive<Trellis::Widget>();
    content->postConstruct();
    content->setSize({200.f, 200.f});
    f.table.host.mainWidget().addChild(content);
    content->setLocation({880.f, 450.f});
    f.put({960.f, 540.f}, 4.712f);
    f.table.host.input.markerDown(9998, {1140.f, 540.f}, 4.712f);
    f.table.host.frame();
    const auto signs = f.table.host.app().mainLayer()->findAllByType("CardSign");
    REQUIRE(signs.size() == 2);
    const Trellis::Widget& later = *signs[1]->children().front();
    REQUIRE(later.attribute("location")->hasValue(Facet::kUserLayer));
    content->eventAddListener("marker-down", [] {});
    f.table.host.frame();
    CHECK_FALSE(later.attribute("location")->hasValue(Facet::kUserLayer));
}

TEST_CASE("sign words: they make room for another card")
{
    SignWordsFixture f;
    f.put({960.f, 540.f}, 4.712f);
    const Vector2f wanted = f.words().mapToScene(f.words().size() / 2.f);
    f.table.host.input.markerDown(9998, wanted, 0.f);
    f.table.host.frame();
    CHECK(f.isFreeOfCards(f.words()));
}

TEST_CASE("sign words: while cards tremble no place is searched anew, and the words follow their cards")
{
    SignWordsFixture f;
    f.putMany();
    REQUIRE(f.movedWords() > 5);
    const long before = Host::PlaceSearch::searchesMade();
    for (int frame = 0; frame < 20; ++frame) {
        for (int i = 0; i < 24; ++i) {
            const Vector2f by{0.6f * std::sin(float(frame * 7 + i)), 0.6f * std::cos(float(frame * 5 + i))};
            f.table.host.input.markerMove(f.many[std::size_t(i)], SignWordsFixture::placeOf(i) + by, 4.712f + 0.005f * by.x);
        }
        f.table.host.frame();
    }
    CHECK(Host::PlaceSearch::searchesMade() == before);
    f.table.host.input.markerMove(f.many[0], SignWordsFixture::placeOf(0) + Vector2f(1.f, 1.f), 4.712f);
    f.table.host.frame();
    CHECK(Host::PlaceSearch::searchesMade() == before);
    for (const Trellis::Widget* sign : f.table.host.app().mainLayer()->findAllByType("CardSign"))
        CHECK(f.isFreeOfCards(*sign->children().front()));
}

TEST_CASE("sign words: a card that creeps by less than a tremble in each frame has the place of its words searched in time")
{
    SignWordsFixture f;
    const Trellis::Widget& words = f.put({960.f, 540.f}, 4.712f);
    const long before = Host::PlaceSearch::searchesMade();
    for (int i = 1; i <= 480; ++i) {
        f.table.host.input.markerMove(f.table.card, {960.f, 540.f - float(i)}, 4.712f);
        f.table.host.frame();
    }
    CHECK(Host::PlaceSearch::searchesMade() - before > 150);
    CHECK(words.sceneBounds().y > -2.f);
    CHECK(f.isFreeOfCards(words));
}

TEST_CASE(
    "sign words: a card that is turned where it lies has the place of its words searched anew, one that trembles so has not")
{
    SignWordsFixture f;
    f.put({960.f, 540.f}, 4.712f);
    const long before = Host::PlaceSearch::searchesMade();
    f.table.host.input.markerMove(f.table.card, {960.f, 540.f}, 4.712f + 0.01f);
    f.table.host.frame();
    CHECK(Host::PlaceSearch::searchesMade() == before);
    f.table.host.input.markerMove(f.table.card, {960.f, 540.f}, 4.712f + 0.05f);
    f.table.host.frame();
    CHECK(Host::PlaceSearch::searchesMade() == before + 1);
}

TEST_CASE("sign words: a card and a space that move far from the words of other cards have no place searched but their own")
{
    SignWordsFixture f;
    f.put({400.f, 300.f}, 4.712f);
    const Vector2f words = f.words().mapToScene({});
    const auto other = f.table.host.input.markerDown(9998, {1500.f, 300.f}, 4.712f);
    f.table.host.frame();
    long before = Host::PlaceSearch::searchesMade();
    for (int i = 1; i <= 10; ++i) {
        f.table.host.input.markerMove(other, {1500.f, 300.f + 20.f * float(i)}, 4.712f);
        f.table.host.frame();
    }
    CHECK(Host::PlaceSearch::searchesMade() == before + 10);
    f.table.area->setInputEnabled(true);
    Trellis::Widget& space = f.table.open(1001, {960.f, 760.f});
    f.table.host.frames(30);
    f.table.host.input.markerUp(other);
    f.table.host.input.markerUp(f.table.card);
    f.table.host.frame();
    before = Host::PlaceSearch::searchesMade();
    for (int i = 0; i < 10; ++i) {
        space.setLocation(space.location() + Vector2f(20.f, 0.f));
        f.table.host.frame();
    }
    CHECK(Host::PlaceSearch::searchesMade() == before);
    CHECK(f.words().mapToScene({}) == words);
}

TEST_CASE("sign words: they come back when the space that they make room for is what the card lies on")
{
    SignWordsFixture f;
    f.put({960.f, 540.f}, 4.712f);
    const auto card = f.table.card;
    f.table.area->setInputEnabled(true);
    Trellis::Widget& space = f.table.open(1001, {1250.f, 300.f});
    f.table.host.frames(30);
    REQUIRE(f.words().attribute("location")->hasValue(Facet::kUserLayer));
    f.table.host.app().grabManager()->transferGrab(card, space.inputGrabber());
    f.table.host.frames(2);
    CHECK_FALSE(f.words().attribute("location")->hasValue(Facet::kUserLayer));
}

TEST_CASE("sign words: those that get longer, or appear, at an edge of the table are whole on it and below no card")
{
    constexpr const char* kLong = "CardSign > .card-sign-text { text: 'Please ask us for another card, which is free. It takes a "
                                  "minute, and you keep all that you have collected with this one.'; }";
    constexpr const char* kShort = "CardSign > .card-sign-text { text: 'Please.'; }";
    const Vecta::Rect table{-0.1f, -0.1f, 1920.2f, 1080.2f};
    for (const Vector2f point : {Vector2f(960.f, 20.f), Vector2f(960.f, 1060.f), Vector2f(20.f, 540.f), Vector2f(20.f, 100.f)})
        for (const float angle : {4.712f, 1.571f}) {
            CAPTURE(point.x);
            CAPTURE(point.y);
            CAPTURE(angle);
            SignWordsFixture f;
            const auto areRight = [&] {
                const auto corners = SignWordsFixture::cornersOf(f.words());
                return f.words().isVisible() && f.isFreeOfCards(f.words())
                    && std::all_of(corners.begin(), corners.end(), [&table](Vector2f corner) { return table.contains(corner); });
            };
            const auto show = [&f](const char* style) {
                f.table.host.style(style);
                f.table.host.frame();
                return f.words().height();
            };
            f.table.host.style(kShort);
            f.put(point, angle);
            const float height = show(kShort);
            CHECK(areRight());
            CHECK(show(kLong) > height + 20.f);
            CHECK(areRight());
            show("CardSign > .card-sign-text { text: ''; }");
            REQUIRE_FALSE(f.words().isVisible());
            f.table.host.input.markerMove(f.table.card, {1920.f - point.x, 1080.f - point.y}, angle);
            f.table.host.frame();
            show(kShort);
            CHECK(areRight());
        }
}

TEST_CASE("sign words: far from where style sheets put them they make room for a card, too")
{
    SignWordsFixture f;
    f.put({960.f, 540.f}, 4.712f);
    const auto wanted = f.words().mapToScene(f.words().size() / 2.f);
    f.table.area->setInputEnabled(true);
    f.table.open(1001, {960.f, 395.f});
    f.table.host.frames(30);
    f.table.area->setInputEnabled(false);
    const auto place = f.words().mapToScene(f.words().size() / 2.f);
    REQUIRE((place - wanted).length() > 200.f);
    f.table.host.input.markerDown(9998, place + (place - wanted) * 0.2f, 4.712f);
    f.table.host.frame();
    CHECK(f.isFreeOfCards(f.words()));
}

TEST_CASE("sign words: a card whose angle passes a whole turn only trembles")
{
    SignWordsFixture f;
    f.put({960.f, 540.f}, 0.004f);
    const long before = Host::PlaceSearch::searchesMade();
    f.table.host.input.markerMove(f.table.card, {960.f, 540.f}, 6.279f);
    f.table.host.frame();
    CHECK(Host::PlaceSearch::searchesMade() == before);
}

TEST_CASE("sign words: later ones make room for those of a card that has crept with its words")
{
    SignWordsFixture f;
    f.put({960.f, 540.f}, 4.712f);
    f.table.host.input.markerMove(f.table.card, {960.8f, 540.8f}, 4.712f);
    f.table.host.frame();
    f.table.host.input.markerDown(9998, {500.f, 540.f}, 4.712f);
    f.table.host.frame();
    const auto third = f.table.host.input.markerDown(9997, {500.f, 900.f}, 4.712f);
    f.table.host.frame();
    for (const float x : {1250.f, 1200.f, 1150.f, 1120.f}) {
        f.table.host.input.markerMove(third, {x, 540.f}, 4.712f);
        f.table.host.frame();
        const auto signs = f.table.host.app().mainLayer()->findAllByType("CardSign");
        REQUIRE(signs.size() == 3);
        CHECK_FALSE(signs[2]->children().front()->intersects(f.words()));
    }
}
