#include "LogCapture.hpp"
#include "PdfFile.hpp"
#include "TestHost.hpp"

#include <Facet/AttributeT.hpp>
#include <Tavola/ContentWidget.hpp>
#include <Tavola/DocumentWidget.hpp>
#include <Tavola/LaunchedContentOperator.hpp>
#include <Vecta/Angle.hpp>

#include <QImage>
#include <QTemporaryDir>

#include <doctest/doctest.h>

using Bedrock::makeIntrusive;
using Tavola::LaunchedContentOperator;
using TestSupport::TestHost;
using Vecta::Vector2f;

namespace
{
constexpr float kPi = Vecta::kPiOf<float>;

Bedrock::IntrusivePtr<Trellis::Widget> item(TestHost& host)
{
    const auto widget = makeIntrusive<Trellis::Widget>(&host.mainWidget());
    widget->setSize({200.f, 100.f});
    return widget;
}

bool isNear(Vector2f a, Vector2f b)
{
    return (a - b).length() < 0.5f;
}

struct OneWidget
{
    TestHost host;
    const Bedrock::IntrusivePtr<Trellis::Widget> widget = item(host);
};
}

TEST_CASE_FIXTURE(OneWidget, "launched content: grows out of the point to its centre there, and fades in")
{
    widget->setScale(1.5f);
    widget->addOperator(makeIntrusive<LaunchedContentOperator>(false, Vector2f(900.f, 500.f), 0.3f));
    CHECK(widget->opacity() < 0.01f);
    host.frame(0.01); // the frame of its first update, which shows it already
    CHECK(widget->opacity() > 0.05f);
    float scale = widget->scale();
    CHECK(scale < 0.2f);
    float opacity = widget->opacity();
    for (int i = 0; i < 3; ++i) {
        CHECK(isNear(widget->centerLocation(), {900.f, 500.f}));
        host.frame(i == 0 ? 0.01 : 0.1);
        CHECK(widget->scale() > scale);
        CHECK(widget->opacity() > opacity);
        scale = widget->scale();
        opacity = widget->opacity();
        if (i == 0)
            CHECK(scale < 0.5f);
    }
    host.frame(0.1);
    CHECK(widget->scale() == 1.5f);
    CHECK(widget->opacity() == 1.f);
    CHECK_FALSE(widget->attribute("opacity")->hasValue(Facet::kUserLayer));
    CHECK(isNear(widget->centerLocation(), {900.f, 500.f}));
    CHECK(widget->operators().empty());
}

TEST_CASE("launched content: the widget and what is in it have their full size, place and visibility in their first update")
{
    struct Probe final : Trellis::Widget
    {
        explicit Probe(Trellis::Widget* parent) : Trellis::Widget(parent) { setUpdating(true); }
        void update(const Trellis::FrameInfo&) override
        {
            seen = sceneBounds();
            wasVisible = isVisible();
            setUpdating(false);
        }
        Vecta::Rect seen;
        bool wasVisible = false;
    };
    TestHost host;
    for (const bool relative : {false, true}) {
        for (const double firstFrameSeconds : {0.0, 0.01, 1.0}) {
            CAPTURE(relative);
            CAPTURE(firstFrameSeconds);
            const auto widget = makeIntrusive<Probe>(&host.mainWidget());
            widget->setSize({400.f, 300.f});
            widget->setLocation({10.f, 20.f});
            const auto inside = makeIntrusive<Probe>(widget.get());
            inside->setSize({400.f, 300.f});
            widget->addOperator(makeIntrusive<LaunchedContentOperator>(relative, Vector2f(900.f, 500.f), 0.3f));
            host.frame(firstFrameSeconds);
            const Vecta::Rect expected =
                relative ? Vecta::Rect{910.f, 520.f, 400.f, 300.f} : Vecta::Rect{700.f, 350.f, 400.f, 300.f};
            for (const auto& probe : {widget, inside}) {
                CHECK(probe->seen == expected);
                CHECK(probe->wasVisible);
            }
            widget->removeFromParent();
        }
    }
}

TEST_CASE_FIXTURE(OneWidget, "launched content: a first frame without time passing is the first frame")
{
    widget->setLocation({60.f, 0.f});
    widget->addOperator(makeIntrusive<LaunchedContentOperator>(true, Vector2f(900.f, 500.f), 0.3f));
    host.frame(0.0);
    widget->setRotation(kPi / 2.f); // a turn of the opening
    host.frame(1.0);
    CHECK(isNear(widget->location(), {900.f, 560.f}));
}

TEST_CASE_FIXTURE(OneWidget, "launched content: relative content ends with its location as an offset from the point")
{
    widget->setLocation({60.f, -20.f});
    widget->addOperator(makeIntrusive<LaunchedContentOperator>(true, Vector2f(900.f, 500.f), 0.3f));
    host.frame(1.0);
    CHECK(isNear(widget->location(), {960.f, 480.f}));
}

TEST_CASE_FIXTURE(OneWidget, "launched content: relative content that is turned while it opens ends where the turn takes it")
{
    widget->setLocation({60.f, 0.f});
    widget->addOperator(makeIntrusive<LaunchedContentOperator>(true, Vector2f(900.f, 500.f), 0.3f));
    host.frame(0.1);
    widget->setRotation(kPi / 2.f);
    host.frame(1.0);
    CHECK(isNear(widget->location(), {900.f, 560.f}));
}

TEST_CASE_FIXTURE(OneWidget, "launched content: a turn in the frame of the launch changes only the orientation")
{
    widget->setLocation({60.f, 0.f});
    widget->addOperator(makeIntrusive<LaunchedContentOperator>(true, Vector2f(900.f, 500.f), 0.3f));
    widget->setRotation(kPi / 2.f);
    host.frame(1.0);
    CHECK(isNear(widget->location(), {960.f, 500.f}));
}

TEST_CASE("launched content: the opening ends at a point that was moved meanwhile")
{
    TestHost host;
    for (const bool relative : {true, false}) {
        CAPTURE(relative);
        const auto widget = item(host);
        const auto opening = makeIntrusive<LaunchedContentOperator>(relative, Vector2f(900.f, 500.f), 0.3f);
        widget->addOperator(opening);
        host.frame(0.1);
        opening->setRelativeLocation({300.f, 200.f});
        host.frame(0.3);
        CHECK(isNear(relative ? widget->location() : widget->centerLocation(), {300.f, 200.f}));
        widget->removeFromParent();
    }
}

TEST_CASE_FIXTURE(OneWidget,
                  "launched content: what is to end elsewhere stands at the point in its first frame and glides from there")
{
    const auto opening = makeIntrusive<LaunchedContentOperator>(false, Vector2f(900.f, 500.f), 0.3f);
    widget->addOperator(opening);
    opening->endAt({1000.f, 500.f});
    host.frame(0.1);
    CHECK(isNear(widget->centerLocation(), {900.f, 500.f}));
    host.frame(0.1);
    CHECK(widget->centerLocation().x > 950.f);
    CHECK(widget->centerLocation().x < 999.f);
    host.frame(0.11);
    CHECK(isNear(widget->centerLocation(), {1000.f, 500.f}));
}

TEST_CASE_FIXTURE(OneWidget, "launched content: a point that moves while it opens takes the whole opening along")
{
    const auto opening = makeIntrusive<LaunchedContentOperator>(false, Vector2f(900.f, 500.f), 0.3f);
    widget->addOperator(opening);
    host.frame(0.01);
    opening->setRelativeLocation({700.f, 400.f});
    host.frame(0.01);
    CHECK(isNear(widget->centerLocation(), {700.f, 400.f}));
}

TEST_CASE_FIXTURE(OneWidget, "launched content: taken away in its first update it stands where it was going")
{
    const auto opening = makeIntrusive<LaunchedContentOperator>(false, Vector2f(900.f, 500.f), 0.3f);
    widget->addOperator(opening);
    opening->endAt({1000.f, 500.f});
    struct Remover final : Trellis::Operator
    {
        void update(Trellis::Widget& target, const Trellis::FrameInfo& /*frame*/) override
        {
            target.removeOperator(*target.operators().front());
            setDone();
        }
    };
    widget->addOperator(makeIntrusive<Remover>());
    host.frame(0.01);
    CHECK(widget->scale() == 1.f);
    CHECK(isNear(widget->centerLocation(), {1000.f, 500.f}));
}

TEST_CASE_FIXTURE(OneWidget,
                  "launched content: a widget that gets its size while it opens still ends with its centre at the point")
{
    widget->addOperator(makeIntrusive<LaunchedContentOperator>(false, Vector2f(900.f, 500.f), 0.3f));
    host.frame(0.1);
    widget->setSize({400.f, 300.f});
    host.frame(0.3);
    CHECK(isNear(widget->centerLocation(), {900.f, 500.f}));
}

TEST_CASE_FIXTURE(OneWidget, "launched content: what has no size yet is waited for, but not for ever")
{
    widget->setSize({300.f, 0.f});
    widget->addOperator(makeIntrusive<LaunchedContentOperator>(false, Vector2f(900.f, 500.f), 0.3f));
    host.frame(1.0);
    CHECK(widget->opacity() == 1.f);
    CHECK(widget->operators().size() == 1);
    widget->setSize({300.f, 200.f});
    host.frame(0.1);
    CHECK(isNear(widget->centerLocation(), {900.f, 500.f}));
    CHECK(widget->operators().empty());

    const auto never = makeIntrusive<Trellis::Widget>(&host.mainWidget());
    never->setSize({300.f, 0.f});
    never->addOperator(makeIntrusive<LaunchedContentOperator>(false, Vector2f(900.f, 500.f), 0.3f));
    host.frame(4.9);
    CHECK(never->operators().size() == 1);
    host.frame(0.2);
    CHECK(never->operators().empty());
}

TEST_CASE_FIXTURE(OneWidget, "launched content: kept on the table it ends inside the edge, also when its size comes late")
{
    widget->setSize({300.f, 0.f});
    const auto opening = makeIntrusive<LaunchedContentOperator>(false, Vector2f(1900.f, 1070.f), 0.3f);
    opening->keepOnTable();
    widget->addOperator(opening);
    host.frame(1.0);
    widget->setSize({300.f, 200.f});
    host.frame(0.1);
    CHECK(isNear(widget->centerLocation(), {1770.f, 980.f}));
    CHECK(widget->scale() == 1.f);
}

TEST_CASE("launched content: a picture that is still being read is waited for, though the frame round it has a size")
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("wide.png"));
    QImage image(300, 200, QImage::Format_RGB32);
    image.fill(Qt::darkGreen);
    REQUIRE(image.save(path));
    TestHost host;
    host.style("ContentWidget { width: 318px; padding: 9px }");
    const auto picture = makeIntrusive<Tavola::ContentWidget>(&host.mainWidget());
    picture->load(path);
    const auto opening = makeIntrusive<LaunchedContentOperator>(false, Vector2f(900.f, 1070.f), 0.3f);
    opening->keepOnTable();
    picture->addOperator(opening);
    host.frame(0.5); // the picture is asked for in this frame
    REQUIRE(picture->size().y == 18.f);
    REQUIRE(host.frameUntil([&] { return picture->isLoaded(); }));
    host.frames(3);
    CHECK(picture->size().y == 218.f);
    CHECK(isNear(picture->centerLocation(), {900.f, 1080.f - 109.f}));
    CHECK(picture->operators().empty());
}

TEST_CASE("launched content: a document ends inside the edge with the proportions of its page")
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("broad.pdf"));
    PdfFile::write(path, {Qt::darkCyan});
    TestHost host;
    host.style("DocumentWidget { width: 200px; padding: 5px }");
    const auto document = makeIntrusive<Tavola::DocumentWidget>(&host.mainWidget());
    dynamic_cast<Facet::AttributeT<QString>&>(*document->attribute("source")).setValue(path);
    const auto opening = makeIntrusive<LaunchedContentOperator>(false, Vector2f(900.f, 1070.f), 0.3f);
    opening->keepOnTable();
    document->addOperator(opening);
    host.frame(0.5);
    REQUIRE(host.frameUntil([&] { return document->isLoaded(); }));
    host.frames(3);
    CHECK(isNear(document->centerLocation(), {900.f, 1080.f - document->height() / 2.f}));
    CHECK(document->operators().empty());
}

TEST_CASE("launched content: what cannot be read is open all the same")
{
    TestHost host;
    const auto picture = makeIntrusive<Tavola::ContentWidget>(&host.mainWidget());
    TestSupport::expectWarningStartingWith("ImageWidget # Failed to load image ");
    picture->load(QStringLiteral("/nowhere/none.png"));
    picture->addOperator(makeIntrusive<LaunchedContentOperator>(false, Vector2f(900.f, 500.f), 0.3f));
    host.frame(0.5);
    CHECK(picture->scale() == 1.f);
    CHECK(picture->opacity() == 1.f);
    CHECK(host.frameUntil([&] { return host.app().pendingImages() == 0; }));
    host.frame(LaunchedContentOperator::kLongestWaitSeconds);
    CHECK(picture->operators().empty());
}

TEST_CASE("launched content: without a duration it is open in the next frame")
{
    TestHost host;
    for (const float seconds : {0.f, -1.f}) {
        const auto widget = item(host);
        widget->addOperator(makeIntrusive<LaunchedContentOperator>(false, Vector2f(900.f, 500.f), seconds));
        host.frame();
        CHECK(widget->scale() == 1.f);
        CHECK(widget->operators().empty());
    }
}

TEST_CASE_FIXTURE(OneWidget, "launched content: taken away while it opens it leaves the widget where it was going")
{
    const auto opening = makeIntrusive<LaunchedContentOperator>(false, Vector2f(900.f, 500.f), 0.3f);
    widget->addOperator(opening);
    host.frame(0.1);
    widget->removeOperator(*opening);
    CHECK(widget->scale() == 1.f);
    CHECK(widget->opacity() == 1.f);
    CHECK(isNear(widget->centerLocation(), {900.f, 500.f}));
}

TEST_CASE("launched content: a finger that takes the widget while it opens keeps it")
{
    TestHost host;
    host.style("Widget.it { movable: true }");
    const auto widget = item(host);
    widget->addCSSClass("it");
    widget->addOperator(makeIntrusive<LaunchedContentOperator>(false, Vector2f(900.f, 500.f), 0.5f));
    host.frame(0.1);
    host.drag(1, {900.f, 500.f}, {1100.f, 600.f});
    host.frames(2, 0.5);
    CHECK(widget->scale() == 1.f);
    CHECK(isNear(widget->centerLocation(), {1100.f, 600.f}));
}

TEST_CASE("launched content: a widget may leave while it opens")
{
    TestHost host; // whose end counts what is left
    const auto widget = item(host);
    widget->addOperator(makeIntrusive<LaunchedContentOperator>(false, Vector2f(900.f, 500.f), 0.3f));
    host.frame(0.1);
    widget->removeFromParent();
    host.frames(2, 0.2);
}
