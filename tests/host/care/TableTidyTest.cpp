#include "care/TableTidy.hpp"

#include "care/CareAttributes.hpp"
#include "care/TableCare.hpp"

#include <Tavola/Utils.hpp>
#include <TestHost.hpp>

#include <doctest/doctest.h>

using Vecta::Vector2f;

namespace
{
Host::CareSettings tidySettings()
{
    Host::CareSettings result;
    result.tidyAfterSeconds = 10.f;
    return result;
}

struct TableTidyFixture
{
    TableTidyFixture()
    {
        host.style(
            ".content { position: absolute; width: 200px; height: 100px; movable: true; rotatable: true; scalable: true;"
            " inertia: false; } #first { left: 300px; top: 300px; rotation: 10deg; } #second { left: 900px; top: 300px; }");
        first = add("first");
        second = add("second");
        host.mainWidget().addOperator(Bedrock::makeIntrusive<Host::TableCare>(tidySettings(), 0.55f));
        host.frame();
    }
    Bedrock::IntrusivePtr<Trellis::Widget> add(const char* id)
    {
        const auto widget = Bedrock::makeIntrusive<Trellis::Widget>();
        widget->setCSSId(id);
        widget->postConstruct();
        widget->addCSSClass("content");
        host.mainWidget().addChild(widget);
        return widget;
    }
    void pass(int seconds) { host.frames(seconds * 10, 0.1); }
    static void moveAway(Trellis::Widget& widget)
    {
        widget.setLocation({1400.f, 800.f});
        widget.setRotation(2.f);
        widget.setScale(1.5f);
    }

    Host::CareAttributes attributes; ///< destroyed after the widgets
    TestSupport::TestHost host;
    Bedrock::IntrusivePtr<Trellis::Widget> first;
    Bedrock::IntrusivePtr<Trellis::Widget> second;
};
}

TEST_CASE("table tidy: content that was only turned, or only scaled, goes home, too")
{
    TableTidyFixture f;
    f.first->setRotation(1.f);
    f.second->setScale(2.f);
    f.pass(12);
    CHECK(f.first->rotation() == doctest::Approx(0.17453f));
    CHECK(f.second->scale() == 1.f);
}

TEST_CASE("table tidy: content goes home after an idle time, to its place, angle and size, one after the other")
{
    TableTidyFixture f;
    TableTidyFixture::moveAway(*f.first);
    TableTidyFixture::moveAway(*f.second);
    f.pass(9);
    CHECK(f.first->location() == Vector2f(1400.f, 800.f));
    bool isSecondUntouched = true;
    for (int i = 0; i < 200 && f.first->location() != Vector2f(300.f, 300.f); ++i) {
        isSecondUntouched &= f.second->location() == Vector2f(1400.f, 800.f);
        f.host.frame();
    }
    CHECK(isSecondUntouched);
    CHECK(f.first->location() == Vector2f(300.f, 300.f));
    CHECK(f.first->rotation() == doctest::Approx(0.17453f));
    CHECK(f.first->scale() == 1.f);
    // Style decides over its place again.
    CHECK_FALSE(f.first->attribute("location")->hasValue(Facet::kUserLayer));
    f.host.frames(25);
    CHECK(f.second->location() == Vector2f(900.f, 300.f));
    CHECK(f.second->scale() == 1.f);
}

TEST_CASE("table tidy: a table in use is not tidied, and a finger keeps what it holds")
{
    TableTidyFixture f;
    TableTidyFixture::moveAway(*f.first);
    for (int i = 0; i < 5; ++i) {
        f.pass(4);
        f.host.tap({50.f, 50.f});
    }
    CHECK(f.first->location() == Vector2f(1400.f, 800.f));
    f.pass(9);
    for (int i = 0; i < 100 && f.first->location() == Vector2f(1400.f, 800.f); ++i)
        f.host.frame();
    f.host.input.fingerDown(1, f.first->mapToScene({100.f, 50.f}));
    f.host.frame();
    const Vector2f held = f.first->location();
    f.host.frames(60);
    CHECK(f.first->location() == held);
}

TEST_CASE("table tidy: what stays, and what visitors opened, is left where it is")
{
    TableTidyFixture f;
    f.host.style("#first { stays: true; }");
    TableTidyFixture::moveAway(*f.first);
    const auto opened = f.add("opened");
    opened->setLocation({100.f, 700.f});
    f.pass(30);
    CHECK(f.first->location() == Vector2f(1400.f, 800.f));
    CHECK(opened->location() == Vector2f(100.f, 700.f));
}

TEST_CASE("table tidy: what lies over the edge so far that it can hardly be grabbed comes back as soon as it stands still")
{
    struct Row
    {
        const char* what;
        Vector2f held; ///< of the widget
        Vector2f to;
        Vector2f back;
    };
    const float grab = Host::TableTidy::kGrabMm / 0.55f;
    const Row rows[] = {
        {"left", {190.f, 50.f}, {2.f, 550.f}, {grab - 200.f, 500.f}},
        {"right", {5.f, 50.f}, {1915.f, 550.f}, {1920.f - grab, 500.f}},
        {"top", {100.f, 95.f}, {600.f, 2.f}, {500.f, grab - 100.f}},
        {"bottom right", {5.f, 5.f}, {1915.f, 1075.f}, {1920.f - grab, 1080.f - grab}},
        {"half out is far enough inside", {100.f, 50.f}, {2.f, 550.f}, {-98.f, 500.f}},
    };
    for (const Row& row : rows) {
        CAPTURE(row.what);
        TableTidyFixture f;
        f.host.dragAndDrop(1, f.second->mapToScene(row.held), row.to, 8);
        f.host.frames(30);
        CHECK_MESSAGE((f.second->location() - row.back).length() < 0.5f, f.second->location().x << " " << f.second->location().y);
    }
}

TEST_CASE("table tidy: what is flung over the edge glides out before it comes back")
{
    TableTidyFixture f;
    f.host.style(".content { inertia: true; width: 80px; height: 60px; }");
    f.host.frame();
    f.host.drag(1, f.first->mapToScene({40.f, 30.f}), {100.f, 350.f}, 3);
    f.host.input.fingerUp(1);
    f.host.frame();
    REQUIRE(f.first->isMoving());
    float before = f.first->location().x;
    for (int i = 0; i < 600 && f.first->isMoving(); ++i) {
        f.host.frame();
        CHECK(f.first->location().x <= before + 0.01f);
        before = f.first->location().x;
    }
    REQUIRE(f.first->sceneBounds().right() < 50.f);
    f.host.frames(40);
    CHECK(f.first->sceneBounds().right() > 53.f);
}

TEST_CASE("table tidy: what is smaller than what can be grabbed comes back as a whole, and no further")
{
    TableTidyFixture f;
    f.second->setSize({30.f, 30.f});
    f.host.dragAndDrop(1, f.second->mapToScene({28.f, 15.f}), {4.f, 550.f}, 8);
    f.host.frames(30);
    CHECK(f.second->location().x == doctest::Approx(0.f));
}

TEST_CASE("table tidy: a touch of a single frame on the way back keeps nothing out of reach")
{
    TableTidyFixture f;
    f.host.dragAndDrop(1, {905.f, 350.f}, {1915.f, 350.f}, 8);
    while (f.second->location().x > 1905.f)
        f.host.frame();
    f.host.input.fingerDown(2, {1917.f, 350.f});
    f.host.frame();
    const float touched = f.second->location().x;
    REQUIRE(touched > 1920.f - Host::TableTidy::kGrabMm / 0.55f + 1.f);
    f.host.input.fingerUp(2);
    f.host.frames(30);
    CHECK(f.second->location().x == doctest::Approx(1920.f - Host::TableTidy::kGrabMm / 0.55f));
}

TEST_CASE("table tidy: what other code puts over the edge is left there")
{
    TableTidyFixture f;
    f.second->setLocation({1915.f, 300.f});
    f.host.frames(60);
    CHECK(f.second->location() == Vector2f(1915.f, 300.f));
}

TEST_CASE("table tidy: what a finger holds over the edge is not moved until it is let go")
{
    TableTidyFixture f;
    f.host.drag(1, {950.f, 350.f}, {1960.f, 350.f}, 8);
    const Vector2f held = f.second->location();
    REQUIRE(held.x > 1900.f);
    f.host.frames(30);
    CHECK(f.second->location() == held);
    f.host.input.fingerUp(1);
    f.host.frames(30);
    CHECK(f.second->location().x == doctest::Approx(1920.f - Host::TableTidy::kGrabMm / 0.55f));
}
