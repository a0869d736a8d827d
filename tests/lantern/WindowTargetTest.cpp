#include <doctest/doctest.h>

#include "EventLoop.hpp"
#include "LogCapture.hpp"

#include <Lantern/RenderContext.hpp>
#include <Lantern/Style.hpp>
#include <Lantern/WindowListener.hpp>
#include <Lantern/WindowTarget.hpp>

#include <QCoreApplication>
#include <QGuiApplication>
#include <QInputMethodEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QRegion>
#include <QScreen>
#include <QTouchEvent>
#include <QWheelEvent>
#include <QWindow>

using namespace std::string_literals;
using Lantern::WindowOptions;
using Lantern::WindowTarget;

namespace
{
struct Heard final : Lantern::WindowListener
{
    std::string log;
    bool isExposed = false;
    void mouseEvent(QMouseEvent& event) override { log += "mouse " + std::to_string(event.x()) + ";"; }
    void touchEvent(QTouchEvent& event) override { log += "touch " + std::to_string(event.touchPoints().size()) + ";"; }
    void keyEvent(QKeyEvent& event) override { log += "key " + event.text().toStdString() + ";"; }
    void wheelEvent(QWheelEvent& event) override { log += "wheel " + std::to_string(event.angleDelta().y()) + ";"; }
    void windowResized(QSize size) override { log += "resized " + std::to_string(size.width()) + ";"; }
    void windowExposed() override { isExposed = true; }
    void windowClosed() override { log += "closed;"; }
};

WindowOptions smallWindow()
{
    WindowOptions options;
    options.size = {120, 80};
    return options;
}
}

TEST_CASE("window target: mouse, touch, keys, wheel, size and close reach the listener")
{
    Heard heard;
    WindowTarget target(smallWindow(), &heard);
    REQUIRE(TestSupport::pumpUntil([&] { return heard.isExposed; }));
    heard.log.clear();

    QMouseEvent press(QEvent::MouseButtonPress, {7, 8}, Qt::LeftButton, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&target.window(), &press);
    QMouseEvent move(QEvent::MouseMove, {9, 8}, Qt::NoButton, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&target.window(), &move);
    QTouchEvent touch(QEvent::TouchBegin, nullptr, Qt::NoModifier, Qt::TouchPointPressed,
                      {QTouchEvent::TouchPoint(1), QTouchEvent::TouchPoint(2)});
    QCoreApplication::sendEvent(&target.window(), &touch);
    QKeyEvent key(QEvent::KeyPress, Qt::Key_A, Qt::NoModifier, QStringLiteral("a"));
    QCoreApplication::sendEvent(&target.window(), &key);
    QWheelEvent wheel({1, 1}, {1, 1}, {}, {0, 120}, Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
    QCoreApplication::sendEvent(&target.window(), &wheel);
    CHECK(heard.log == "mouse 7;mouse 9;touch 2;key a;wheel 120;");

    heard.log.clear();
    target.window().resize(200, 100);
    REQUIRE(TestSupport::pumpUntil([&] { return !heard.log.empty(); }));
    CHECK(heard.log == "resized 200;");
    CHECK(target.size() == QSize(200, 100));

    heard.log.clear();
    target.window().close();
    CHECK(heard.log == "closed;");
}

TEST_CASE("window target: composed characters come as a key that writes them")
{
    Heard heard;
    WindowTarget target(smallWindow(), &heard);
    REQUIRE(TestSupport::pumpUntil([&] { return heard.isExposed; }));
    heard.log.clear();
    QInputMethodQueryEvent query(Qt::ImEnabled);
    QCoreApplication::sendEvent(&target.window(), &query);
    CHECK(query.value(Qt::ImEnabled).toBool());
    QInputMethodEvent preview(QStringLiteral("^"), {});
    QCoreApplication::sendEvent(&target.window(), &preview);
    CHECK(heard.log.empty());
    QInputMethodEvent composed;
    composed.setCommitString(QString::fromUtf8("ê"));
    QCoreApplication::sendEvent(&target.window(), &composed);
    CHECK(heard.log == "key ê;key ê;");
}

TEST_CASE("window target: a part that is not painted again keeps its look")
{
    Heard heard;
    WindowOptions options = smallWindow();
    SUBCASE("raster") {}
    SUBCASE("OpenGL where there is one") { options.drawing = WindowOptions::Drawing::OpenGl; }
    WindowTarget target(options, &heard);
    REQUIRE(TestSupport::pumpUntil([&] { return heard.isExposed; }));
    const auto fill = [](Bedrock::Color color) {
        return [color](Lantern::RenderContext& c) { c.drawRect({0, 0, 500, 500}, 0.f, Lantern::Style().setFill(color)); };
    };
    target.paint(QRegion(0, 0, 120, 80), fill({1, 0, 0, 1}));
    target.paint(QRegion(0, 0, 60, 80), fill({0, 0, 1, 1}));
    const QImage shown = target.window().screen()->grabWindow(target.window().winId()).toImage();
    REQUIRE_FALSE(shown.isNull());
    CHECK(shown.pixelColor(30, 40) == QColor(Qt::blue));
    CHECK(shown.pixelColor(90, 40) == QColor(Qt::red));
}

TEST_CASE("window target: a window that cannot be seen is not drawn")
{
    WindowTarget target(smallWindow(), nullptr);
    target.window().hide();
    REQUIRE(TestSupport::pumpUntil([&] { return !target.window().isExposed(); }));
    int calls = 0;
    target.paint(QRegion(0, 0, 120, 80), [&](Lantern::RenderContext&) { ++calls; });
    CHECK(calls == 0);
}

TEST_CASE("window target: asked for OpenGL it draws, with it or without it, and says so")
{
    Heard heard;
    WindowOptions options = smallWindow();
    options.drawing = WindowOptions::Drawing::OpenGl;
    WindowTarget target(options, &heard);
    bool isAnnounced = false;
    for (const auto& line : TestSupport::loggedLines())
        isAnnounced |= line.text == "WindowTarget # No OpenGL context can be made, drawing without it"s;
    CHECK(isAnnounced == (target.drawing() == WindowOptions::Drawing::Raster));
    REQUIRE(TestSupport::pumpUntil([&] { return heard.isExposed; }));
    int calls = 0;
    target.paint(QRegion(0, 0, 120, 80), [&](Lantern::RenderContext&) { ++calls; });
    CHECK(calls == 1);
}
