#include "care/FlyingPicture.hpp"

#include <TestHost.hpp>

#include <doctest/doctest.h>

#include <cmath>

using Host::FlyingPicture;
using Vecta::Vector2f;

namespace
{
struct FlyingPictureFixture
{
    FlyingPictureFixture()
    {
        goal->postConstruct();
        host.mainWidget().addChild(goal);
        goal->setSize({100.f, 100.f});
        goal->setLocation({1000.f, 500.f});
        host.frame();
        picture.fill(0xffff0000);
    }
    Trellis::Widget* fly()
    {
        return FlyingPicture::addTo(*host.ui().overlayWidget(), picture, {{200.f, 200.f}, {80.f, 40.f}, 1.f}, *goal).get();
    }
    bool isFlying() { return !host.ui().overlayWidget()->children().empty(); }

    TestSupport::TestHost host;
    Bedrock::IntrusivePtr<Trellis::Widget> goal = Bedrock::makeIntrusive<Trellis::Widget>();
    QImage picture{80, 40, QImage::Format_ARGB32_Premultiplied};
};
}

TEST_CASE("flying picture: it begins where it is put and ends in its goal, with its own proportions")
{
    FlyingPictureFixture f;
    const Bedrock::IntrusivePtr<Trellis::Widget> flying(f.fly());
    CHECK((flying->mapToScene(flying->size() / 2.f) - Vector2f(200.f, 200.f)).length() < 0.1f);
    CHECK(flying->size() == Vector2f(80.f, 40.f));
    CHECK(flying->rotation() == doctest::Approx(1.f));
    f.host.frames(1, 0.29);
    CHECK((flying->mapToScene(flying->size() / 2.f) - Vector2f(1050.f, 550.f)).length() < 2.f);
    CHECK(flying->width() == doctest::Approx(100.f).epsilon(0.01));
    CHECK(flying->height() == doctest::Approx(50.f).epsilon(0.01));
    f.host.frames(1, 0.02);
    CHECK_FALSE(f.isFlying());
}

TEST_CASE("flying picture: it turns to its goal the short way")
{
    FlyingPictureFixture f;
    f.goal->setRotationAboutCenter(-2.9f);
    const Bedrock::IntrusivePtr<Trellis::Widget> flying(f.fly());
    f.host.frames(1, 0.15);
    CHECK(flying->rotation() > 1.5f);
    CHECK(flying->rotation() < 3.f);
    f.host.frames(1, 0.149);
    CHECK(std::cos(flying->rotation() + 2.9f) > 0.99f);
}

TEST_CASE("flying picture: it shows the picture")
{
    FlyingPictureFixture f;
    f.host.style("FlyingPicture { position: absolute; }");
    f.fly();
    CHECK(f.host.app().renderToImage().pixel(200, 200) == 0xffff0000);
}

TEST_CASE("flying picture: a goal that moves is followed, and one that goes is remembered")
{
    FlyingPictureFixture f;
    const Bedrock::IntrusivePtr<Trellis::Widget> flying(f.fly());
    f.goal->setLocation({400.f, 800.f});
    f.host.frames(1, 0.15);
    f.goal->removeFromParent();
    f.goal.reset();
    f.host.frames(1, 0.14);
    CHECK((flying->mapToScene(flying->size() / 2.f) - Vector2f(450.f, 850.f)).length() < 2.f);
}
