#include "window/TableWindow.hpp"

#include <EventLoop.hpp>

#include <Cascara/StyleEngine.hpp>
#include <Tavola/Tavola.hpp>
#include <Tavola/UserInterface.hpp>
#include <Trellis/Application.hpp>
#include <Trellis/GrabManager.hpp>
#include <Trellis/Widget.hpp>
#include <Vecta/Angle.hpp>

#include <doctest/doctest.h>

#include <QGuiApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QScreen>
#include <QWheelEvent>
#include <QWindow>

#include <vector>

using namespace Host;

namespace
{
Lantern::WindowOptions windowOptions(const Trellis::Application& application)
{
    Lantern::WindowOptions options;
    options.size = QSize(int(application.size().x), int(application.size().y));
    options.title = QStringLiteral("Rooms");
    return options;
}

/// A table of one large widget in a window, used by hand.
struct Fixture
{
    explicit Fixture(Vecta::Vector2f size = {640.f, 480.f}) : application(size)
    {
        REQUIRE(QGuiApplication::allWindows().size() == 1);
        window = QGuiApplication::allWindows().front();
        auto& ground = *tavola->ui()->background();
        ground.eventAddListener("marker-down", [this] { ++cardsDown; });
        ground.eventAddListener("marker-up", [this] { ++cardsUp; });
        ground.eventAddListener("single-tap", [this] { ++taps; });
        application.frame(0.0);
    }
    void mouse(QEvent::Type type, QPointF point, Qt::KeyboardModifiers modifiers = Qt::NoModifier,
               Qt::MouseButton button = Qt::LeftButton)
    {
        QMouseEvent event(type, point, point, button, type == QEvent::MouseButtonRelease ? Qt::NoButton : button, modifiers);
        QGuiApplication::sendEvent(window, &event);
    }
    void click(QPointF point, Qt::KeyboardModifiers modifiers = Qt::NoModifier, Qt::MouseButton button = Qt::LeftButton)
    {
        mouse(QEvent::MouseButtonPress, point, modifiers, button);
        application.frame(0.01);
        mouse(QEvent::MouseButtonRelease, point, modifiers, button);
        application.frame(0.01);
    }
    void key(QEvent::Type type, int code)
    {
        QKeyEvent event(type, code, Qt::NoModifier);
        QGuiApplication::sendEvent(window, &event);
    }
    /// One step of a mouse's wheel, or as many as `angle` has of 120.
    void wheel(QPointF point, int angle)
    {
        QWheelEvent event(point, point, QPoint(), QPoint(0, angle), Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
        QGuiApplication::sendEvent(window, &event);
        application.frame(0.01);
    }
    std::vector<Tactile::Marker> cards() const { return application.grabManager()->currentSample().markers; }

    Trellis::Application application;
    std::shared_ptr<Tavola::Tavola> tavola = Tavola::Tavola::create();
    TableWindow table{application, windowOptions(application), {1001, 1002}, 50.f};
    QWindow* window = nullptr;
    int cardsDown = 0;
    int cardsUp = 0;
    int taps = 0;
};
}

TEST_CASE("table window: it has the table's size and the presentation's title")
{
    Fixture f;
    CHECK(f.window->size() == QSize(640, 480));
    CHECK(f.window->title() == "Rooms");
    CHECK_FALSE(f.table.isClosed());
}

TEST_CASE("table window: the left button is a finger, the others are none")
{
    Fixture f;
    f.click({100, 100});
    CHECK(f.taps == 1);
    f.click({100, 100}, Qt::NoModifier, Qt::RightButton);
    CHECK(f.taps == 1);
}

TEST_CASE("table window: a click while a digit is held puts a card down, a click on it with Shift lifts it")
{
    Fixture f;
    f.key(QEvent::KeyPress, Qt::Key_2);
    f.click({200, 200});
    f.key(QEvent::KeyRelease, Qt::Key_2);
    CHECK(f.cardsDown == 1);
    f.click({210, 210}, Qt::ShiftModifier);
    CHECK(f.cardsUp == 1);
    f.click({210, 210});
    CHECK(f.cardsDown == 1);
    CHECK(f.taps == 1);
}

TEST_CASE("table window: the wheel turns the card under it by 15 degrees a step, and no other")
{
    constexpr double kStepRadians = Vecta::kPi / 12.0;
    Fixture f;
    f.key(QEvent::KeyPress, Qt::Key_1);
    f.click({200, 200});
    f.key(QEvent::KeyRelease, Qt::Key_1);
    f.key(QEvent::KeyPress, Qt::Key_2);
    f.click({500, 300});
    f.key(QEvent::KeyRelease, Qt::Key_2);
    REQUIRE(f.cards().size() == 2);
    const double other = double(f.cards()[1].rotation());

    f.wheel({210, 210}, 120);
    CHECK(double(f.cards()[0].rotation()) == doctest::Approx(19 * kStepRadians));
    f.wheel({210, 210}, 60);
    CHECK(double(f.cards()[0].rotation()) == doctest::Approx(19.5 * kStepRadians));
    f.wheel({210, 210}, -240);
    CHECK(double(f.cards()[0].rotation()) == doctest::Approx(17.5 * kStepRadians));
    f.wheel({350, 60}, 120); // where no card lies
    CHECK(double(f.cards()[0].rotation()) == doctest::Approx(17.5 * kStepRadians));
    CHECK(double(f.cards()[1].rotation()) == other);
}

TEST_CASE("table window: F11 switches full screen, when it is pressed and not when it is let go")
{
    Fixture f;
    REQUIRE(f.window->windowState() == Qt::WindowNoState);
    f.key(QEvent::KeyPress, Qt::Key_F11);
    CHECK(f.window->windowState() == Qt::WindowFullScreen);
    f.key(QEvent::KeyRelease, Qt::Key_F11);
    CHECK(f.window->windowState() == Qt::WindowFullScreen);
    f.key(QEvent::KeyPress, Qt::Key_F11);
    CHECK(f.window->windowState() == Qt::WindowNoState);
    CHECK_FALSE(f.table.isClosed());
}

TEST_CASE("table window: full screen is as large as the screen, without a window manager too, and shows the layout as it is")
{
    const Vecta::Vector2f layout{640.f, 320.f};
    Fixture f(layout);
    const QRect before = f.window->geometry();
    f.key(QEvent::KeyPress, Qt::Key_F11);
    QGuiApplication::processEvents();
    const QSize screen = f.window->screen()->size();
    CHECK(f.window->size() == screen);
    CHECK(f.application.size() == layout);
    const ScreenView view(ScreenFit::Scale, layout, {float(screen.width()), float(screen.height())});
    REQUIRE(view.shown().y > 10.f); // a bar
    const auto onScreen = [&view](Vecta::Vector2f point) {
        const Vecta::Vector2f mapped = view.toScreen().map(point);
        return QPointF(qreal(mapped.x), qreal(mapped.y));
    };
    f.click(onScreen({320.f, -2.f}));
    CHECK(f.taps == 0);
    f.click(onScreen({320.f, 2.f}));
    CHECK(f.taps == 1);
    f.key(QEvent::KeyPress, Qt::Key_1);
    f.click(onScreen({160.f, 160.f}));
    REQUIRE(f.cards().size() == 1);
    CHECK((f.cards()[0].centerLocation() - Vecta::Vector2f(160.f, 160.f)).length() < 0.1f);
    f.wheel(onScreen({160.f, 160.f}), 120);
    CHECK(f.cards()[0].rotation() > 0.1f);

    f.key(QEvent::KeyRelease, Qt::Key_1);
    f.key(QEvent::KeyPress, Qt::Key_F11);
    QGuiApplication::processEvents();
    CHECK(f.window->geometry() == before);
    CHECK(f.application.size() == layout);
}

TEST_CASE("table window: a layout that is scaled keeps its size as the window grows")
{
    Trellis::Application application({640.f, 480.f});
    TableWindow table(application, windowOptions(application), {}, 50.f, ScreenFit::Scale);
    QGuiApplication::allWindows().front()->resize(800, 500);
    QGuiApplication::processEvents();
    CHECK(application.size() == Vecta::Vector2f(640.f, 480.f));
}

TEST_CASE("table window: what is dragged is moved as a picture where the layout is scaled, too")
{
    Trellis::Application application({640.f, 480.f});
    const auto tavola = Tavola::Tavola::create();
    TableWindow table(application, windowOptions(application), {}, 50.f, ScreenFit::Scale);
    QWindow& window = *QGuiApplication::allWindows().front();
    REQUIRE(TestSupport::pumpUntil([&] { return window.isExposed(); }));
    window.resize(960, 800);
    QGuiApplication::processEvents();
    /// Counts how often it is painted.
    struct Counted final : Trellis::Widget
    {
        using Widget::Widget;
        void renderContent(Lantern::RenderContext&) const override { ++paints; }
        mutable int paints = 0;
    };
    auto& dragged = *new Counted(tavola->ui()->mainWidget().get());
    dragged.setSize({100.f, 80.f});
    const auto drawFrame = [&] {
        application.frame(0.01);
        table.draw();
    };
    for (int i = 0; i < 3; ++i)
        drawFrame();
    CHECK(application.keptPictures().count == 1);
    const int paints = dragged.paints;
    REQUIRE(paints > 0);
    for (int i = 0; i < 5; ++i) {
        dragged.setLocation(dragged.location() + Vecta::Vector2f{3.f, 5.f});
        drawFrame();
    }
    CHECK(dragged.paints == paints);
}

TEST_CASE("table window: Escape closes it, and so does the window's own button")
{
    SUBCASE("Escape")
    {
        Fixture f;
        f.key(QEvent::KeyPress, Qt::Key_Escape);
        CHECK(f.table.isClosed());
    }
    SUBCASE("the window's button")
    {
        Fixture f;
        f.window->close();
        CHECK(f.table.isClosed());
    }
}

TEST_CASE("table window: the table grows with it")
{
    Fixture f;
    f.window->resize(800, 500);
    QGuiApplication::processEvents();
    CHECK(f.application.size().x == 800.f);
    CHECK(f.application.size().y == 500.f);
    CHECK(Cascara::StyleEngine::instance().media().widthPx == 800.f); // as style sheets may ask
    CHECK(Cascara::StyleEngine::instance().media().heightPx == 500.f);
}

TEST_CASE("table window: when it goes, its mouse is no input any more")
{
    Trellis::Application application({640.f, 480.f});
    {
        const TableWindow window(application, windowOptions(application), {}, 50.f);
    }
    application.frame(0.01);
    CHECK(application.frameNumber() == 1);
}
