#pragma once

#include <ScriptedInput.hpp>

#include <Bedrock/AfterUpdateQueue.hpp>
#include <Bedrock/BinaryData.hpp>
#include <Cascara/StyleEngine.hpp>
#include <Trellis/Application.hpp>
#include <Trellis/Widget.hpp>

#include <doctest/doctest.h>

#include <QString>

#include <string>
#include <vector>

namespace TrellisTest
{
constexpr float kPi = 3.14159265358979f;
constexpr double kFrameSeconds = 1.0 / 60.0;

inline doctest::Approx near(float value)
{
    return doctest::Approx(double(value)).epsilon(1e-4);
}

#define CHECK_POINT(point, expectedX, expectedY)                                                                                 \
    do {                                                                                                                         \
        const Vecta::Vector2f checkedPoint = (point);                                                                            \
        CHECK(checkedPoint.x == doctest::Approx(double(expectedX)).epsilon(1e-4));                                               \
        CHECK(checkedPoint.y == doctest::Approx(double(expectedY)).epsilon(1e-4));                                               \
    } while (false)

/// Gives a widget declarations of its own, on the style layer.
inline void style(Trellis::Widget& widget, const char* declarations)
{
    const QByteArray id = "w" + QByteArray::number(qlonglong(widget.id()));
    widget.setCSSId(id);
    Cascara::StyleEngine::instance().addStyleSheet(
        QStringLiteral("#%1 { %2 }").arg(QString::fromLatin1(id), QString::fromUtf8(declarations)), QStringLiteral("test.css"));
}

/// A table of 1000 by 800 pixels with a scripted input, cranked by hand.
struct TestScene
{
    TestScene() { app.addInputSource(input); }
    ~TestScene()
    {
        app.removeInputSource(input);
        Cascara::StyleEngine::instance().clearStyleSheets();
        Bedrock::AfterUpdateQueue::instance().clear();
    }

    void frames(int count = 1, double dtSeconds = kFrameSeconds)
    {
        for (int i = 0; i < count; ++i)
            app.frame(dtSeconds);
    }
    /// A widget on the main layer, out of the flow, with more declarations of its own.
    Trellis::Widget& box(float x, float y, float width, float height, const char* more = "")
    {
        auto* widget = new Trellis::Widget(app.mainLayer().get());
        style(*widget,
              ("position: absolute; left: " + std::to_string(x) + "px; top: " + std::to_string(y)
               + "px; width: " + std::to_string(width) + "px; height: " + std::to_string(height) + "px; " + more)
                  .c_str());
        return *widget;
    }

    Trellis::Application app{{1000.f, 800.f}};
    TestSupport::ScriptedInput input;
};

/// Counts an event of a widget.
struct EventCount
{
    EventCount(Trellis::Widget& widget, const char* name)
    {
        widget.eventAddListenerBd(name, [this](Bedrock::BinaryData& payload) {
            ++count;
            last = payload;
        });
    }
    int count = 0;
    Bedrock::BinaryData last;
};
}
