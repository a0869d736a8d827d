#include "care/Drags.hpp"

#include <TestHost.hpp>

#include <doctest/doctest.h>

using Vecta::Vector2f;

namespace
{
struct DragsFixture
{
    DragsFixture()
    {
        host.style(".content { position: absolute; width: 200px; height: 100px; movable: true; inertia: false; }");
        for (int i = 0; i < 3; ++i) {
            content.push_back(Bedrock::makeIntrusive<Trellis::Widget>());
            content.back()->postConstruct();
            content.back()->addCSSClass("content");
            host.mainWidget().addChild(content.back());
            content.back()->setLocation({100.f + 300.f * float(i), 100.f});
        }
        frame();
    }
    void frame()
    {
        host.frame();
        drags.update(host.mainWidget(), *host.app().grabManager());
    }

    TestSupport::TestHost host;
    Host::Drags drags;
    std::vector<Bedrock::IntrusivePtr<Trellis::Widget>> content;
};
}

TEST_CASE("drags: a held widget is dragged once it has moved, and its end shows for one frame")
{
    DragsFixture f;
    f.host.input.fingerDown(1, {150.f, 150.f});
    f.frame();
    REQUIRE(f.drags.all().size() == 1);
    CHECK(f.drags.all()[0].widget == f.content[0]);
    CHECK_FALSE(f.drags.all()[0].isDragging);
    f.host.input.fingerMove(1, {150.f, 300.f});
    f.frame();
    CHECK(f.drags.all()[0].isDragging);
    CHECK(f.drags.all()[0].isHeld);
    CHECK(f.drags.all()[0].finger == Vector2f(150.f, 300.f));
    f.host.input.fingerUp(1);
    f.frame();
    REQUIRE(f.drags.all().size() == 1);
    CHECK(f.drags.all()[0].isDragging);
    CHECK_FALSE(f.drags.all()[0].isHeld);
    f.frame();
    CHECK(f.drags.all().empty());
}

TEST_CASE("drags: what covered a widget before the finger raised it is kept")
{
    DragsFixture f;
    f.host.input.fingerDown(1, {450.f, 150.f});
    f.frame();
    REQUIRE(f.drags.all().size() == 1);
    REQUIRE(f.drags.all()[0].covering.size() == 1);
    CHECK(f.drags.all()[0].covering[0].lock() == f.content[2]);
}

TEST_CASE("drags: a widget that cannot be moved, or that leaves the tree, is none")
{
    DragsFixture f;
    f.host.style(".content { movable: false; }");
    f.host.input.fingerDown(1, {150.f, 150.f});
    f.frame();
    CHECK(f.drags.all().empty());
    f.host.input.fingerUp(1);
    f.host.style(".content { movable: true; }");
    f.frame();
    f.host.input.fingerDown(1, {150.f, 150.f});
    f.frame();
    f.content[0]->removeFromParent();
    f.frame();
    f.frame();
    CHECK(f.drags.all().empty());
}
