#include "table/RunLoop.hpp"

#include "SignalGuard.hpp"
#include "TablePlace.hpp"
#include "window/TableWindow.hpp"

#include <Trellis/Application.hpp>

#include <doctest/doctest.h>

#include <QGuiApplication>
#include <QKeyEvent>
#include <QTimer>
#include <QWindow>

using namespace Host;

namespace
{
/// An empty table, the clock of its loop, and a word when the loop does not end by itself.
struct Place : TablePlace
{
    Place()
    {
        QGuiApplication::setQuitOnLastWindowClosed(false); // as the program has it: the loop ends itself
        presentation("{}");
        options.size = QSize(64, 48);
        constexpr int kPatienceMs = 20000;
        patience.setSingleShot(true);
        QObject::connect(&patience, &QTimer::timeout, &patience, [] { QCoreApplication::exit(99); });
        patience.start(kPatienceMs);
    }
    ~Place() { QGuiApplication::setQuitOnLastWindowClosed(true); }

    /// Advances by the next of `steps` at each reading; after the last it stands still and raises SIGTERM.
    RunLoop::Clock clock(std::vector<double> steps)
    {
        return [this, steps = std::move(steps)] {
            const std::size_t ask = asked++;
            if (ask == 0)
                return seconds;
            if (ask <= steps.size())
                seconds += steps[ask - 1];
            if (ask == steps.size())
                ::raise(SIGTERM);
            return seconds;
        };
    }

    SignalGuard guard;
    QTimer patience;
    double seconds = 1000.0;
    std::size_t asked = 0;
};

std::unique_ptr<TableWindow> windowOf(Table& table)
{
    Lantern::WindowOptions options;
    options.size = QSize(int(table.application().size().x), int(table.application().size().y));
    return std::make_unique<TableWindow>(table.application(), options, std::vector<unsigned long>(), 50.f);
}

QWindow& shownWindow()
{
    REQUIRE(QGuiApplication::allWindows().size() == 1);
    return *QGuiApplication::allWindows().front();
}
}

TEST_CASE("run loop: it ends with 0 at SIGINT and SIGTERM, and may run again")
{
    Place place;
    const auto table = place.open();
    RunLoop loop(*table, nullptr, false);
    for (const int signal : {SIGINT, SIGTERM}) {
        CAPTURE(signal);
        QTimer::singleShot(0, [signal] { ::raise(signal); });
        CHECK(loop.run() == 0);
        CHECK(place.guard.caught() == 0);
    }
    ::raise(SIGINT);
    CHECK(place.guard.caught() == 1); // as it was before
}

TEST_CASE("run loop: it ends with 0 when a signal came before it ran")
{
    Place place;
    const auto table = place.open();
    RunLoop loop(*table, nullptr, false);
    ::raise(SIGTERM);
    CHECK(loop.run() == 0);
    CHECK(place.guard.caught() == 0);
}

TEST_CASE("run loop: frames take the time that the clock says")
{
    Place place;
    const auto table = place.open();
    CHECK(RunLoop(*table, nullptr, false, place.clock({0.015625, 0.03125, 0.0, 0.0625})).run() == 0);
    CHECK(table->application().frameNumber() >= 4);
    CHECK(std::size_t(table->application().frameNumber()) == place.asked - 1);
    CHECK(table->application().time() == 0.109375);
}

TEST_CASE("run loop: a program that was stopped for an hour goes on where it was")
{
    Place place;
    const auto table = place.open();
    CHECK(RunLoop(*table, nullptr, false, place.clock({0.125, 3600.0, 0.125})).run() == 0);
    CHECK(table->application().time() == 0.5);
}

TEST_CASE("run loop: under the manual clock no frame runs by itself, and a signal still ends the program")
{
    Place place;
    const auto table = place.open();
    QTimer::singleShot(0, [] { ::raise(SIGTERM); });
    CHECK(RunLoop(*table, nullptr, true).run() == 0);
    CHECK(table->application().frameNumber() == 0);
}

TEST_CASE("run loop: closing the window ends it with 0, under either clock")
{
    const auto byItsButton = [] { shownWindow().close(); };
    const auto byEscape = [] {
        QKeyEvent escape(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier);
        QGuiApplication::sendEvent(&shownWindow(), &escape);
    };
    for (const bool isManual : {false, true}) {
        for (const bool isKey : {false, true}) {
            CAPTURE(isManual);
            CAPTURE(isKey);
            Place place;
            const auto table = place.open();
            const auto window = windowOf(*table);
            if (isKey)
                QTimer::singleShot(0, byEscape);
            else
                QTimer::singleShot(0, byItsButton);
            CHECK(RunLoop(*table, window.get(), isManual).run() == 0);
            CHECK(window->isClosed());
            CHECK(isManual == (table->application().frameNumber() == 0));
        }
    }
}

TEST_CASE("run loop: a replay ends with its recording, or with its window")
{
    Place place;
    place.options.recordFile = place.folder.path(QStringLiteral("a.rec"));
    {
        const auto table = place.open();
        for (int i = 0; i < 5; ++i)
            REQUIRE(table->frame(0.0625));
    }
    std::swap(place.options.recordFile, place.options.replayFile);
    place.options.size.reset();
    const auto table = place.open();
    REQUIRE(table->isReplay());
    const auto quick = [&place] { return place.seconds += 0.125; };
    SUBCASE("without a window")
    {
        CHECK(RunLoop(*table, nullptr, false, quick).run() == 0);
    }
    SUBCASE("with one it stands still until that is closed")
    {
        const auto window = windowOf(*table);
        QTimer look;
        int looks = 0;
        QObject::connect(&look, &QTimer::timeout, &look, [&] {
            if (table->application().frameNumber() == 5 && ++looks == 20)
                shownWindow().close();
        });
        look.start(0);
        CHECK(RunLoop(*table, window.get(), false, quick).run() == 0);
    }
    CHECK(table->application().frameNumber() == 5);
    CHECK(table->application().time() == 0.3125);
    CHECK(place.guard.caught() == 0);
}
