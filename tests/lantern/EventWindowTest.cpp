#include <doctest/doctest.h>

#include "EventLoop.hpp"

#include <Lantern/WindowListener.hpp>
#include <Lantern/WindowTarget.hpp>

#include <QCoreApplication>
#include <QInputMethodEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QTouchEvent>
#include <QWheelEvent>
#include <QWindow>

// The window is private to the library: it is reached through its target.

using Lantern::WindowOptions;
using Lantern::WindowTarget;

namespace
{
struct HeardEvents final : Lantern::WindowListener
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

WindowOptions smallEventWindow()
{
    WindowOptions options;
    options.size = {120, 80};
    return options;
}

/// A window that the system shows, and what it received since.
struct ExposedWindow
{
    HeardEvents heard;
    WindowTarget target{smallEventWindow(), &heard};
    ExposedWindow()
    {
        REQUIRE(TestSupport::pumpUntil([this] { return heard.isExposed; }));
        heard.log.clear();
    }
};
}

TEST_CASE_FIXTURE(ExposedWindow, "event window: mouse, touch, keys, wheel, size and close reach the listener")
{

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

TEST_CASE_FIXTURE(ExposedWindow, "event window: composed characters come as a key that writes them")
{
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

TEST_CASE_FIXTURE(ExposedWindow, "event window: an empty composition is no key")
{
    QInputMethodEvent empty;
    QCoreApplication::sendEvent(&target.window(), &empty);
    CHECK(heard.log.empty());
    CHECK(empty.isAccepted());
}

TEST_CASE_FIXTURE(ExposedWindow, "event window: a touch is taken, so that it does not come again as a mouse")
{
    CHECK_FALSE(QCoreApplication::testAttribute(Qt::AA_SynthesizeMouseForUnhandledTouchEvents));
    for (const auto type : {QEvent::TouchBegin, QEvent::TouchUpdate, QEvent::TouchEnd, QEvent::TouchCancel}) {
        QTouchEvent touch(type, nullptr, Qt::NoModifier, Qt::TouchPointPressed, {QTouchEvent::TouchPoint(1)});
        touch.ignore();
        QCoreApplication::sendEvent(&target.window(), &touch);
        CHECK(touch.isAccepted());
    }
    CHECK(heard.log == "touch 1;touch 1;touch 1;touch 1;");
}

TEST_CASE("event window: without a listener events go nowhere, and do no harm")
{
    WindowTarget target(smallEventWindow(), nullptr);
    REQUIRE(TestSupport::pumpUntil([&] { return target.window().isExposed(); }));
    QKeyEvent key(QEvent::KeyPress, Qt::Key_A, Qt::NoModifier, QStringLiteral("a"));
    QCoreApplication::sendEvent(&target.window(), &key);
    QMouseEvent press(QEvent::MouseButtonPress, {7, 8}, Qt::LeftButton, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&target.window(), &press);
    QInputMethodEvent composed;
    composed.setCommitString(QStringLiteral("a"));
    QCoreApplication::sendEvent(&target.window(), &composed);
    target.window().close();
    CHECK_FALSE(target.window().isVisible());
}
