#pragma once

#include <Pictures.hpp>
#include <ScriptedInput.hpp>

#include <Bedrock/AfterUpdateQueue.hpp>
#include <Bedrock/BinaryData.hpp>
#include <Bedrock/Inbox.hpp>
#include <Cascara/StyleEngine.hpp>
#include <Trellis/Application.hpp>
#include <Trellis/Widget.hpp>
#include <Vecta/Angle.hpp>

#include <doctest/doctest.h>

#include <QImage>
#include <QRegion>
#include <QString>

#include <cmath>
#include <string>
#include <vector>

namespace TrellisTest
{
using TestSupport::difference;
using TestSupport::litBounds;

constexpr float kPi = Vecta::kPiOf<float>;
constexpr double kFrameSeconds = 1.0 / 60.0;
/// A scene whose pictures are compared pixel by pixel.
constexpr Vecta::Vector2f kSmall{200.f, 200.f};

inline const Bedrock::Color kRed{1.f, 0.f, 0.f, 1.f};
inline const Bedrock::Color kGreen{0.f, 1.f, 0.f, 1.f};
inline const Bedrock::Color kBlue{0.f, 0.f, 1.f, 1.f};
inline const Bedrock::Color kWhite{1.f, 1.f, 1.f, 1.f};

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

/// Sets an attribute on the run-time layer.
template <class T>
void set(Trellis::Widget& widget, const char* attribute, T value)
{
    auto* typed = dynamic_cast<Facet::AttributeT<T>*>(widget.attribute(attribute));
    REQUIRE_MESSAGE(typed, attribute);
    typed->setValue(std::move(value));
}

template <class W>
W& place(W& widget, const Vecta::Rect& rect)
{
    widget.setLocation({rect.x, rect.y});
    widget.setSize({rect.width, rect.height});
    return widget;
}

/// A new widget in `parent`, of one colour.
inline Trellis::Widget& box(Trellis::Widget& parent, const Vecta::Rect& rect, const Bedrock::Color& color)
{
    auto* widget = new Trellis::Widget(&parent);
    place(*widget, rect);
    set(*widget, "background-color", color);
    return *widget;
}

/// A new widget in `parent`, an eighth of a turn around `centre`, the middle of a pixel: a framed square each of whose tips
/// colours a pixel that lies outside of its bounds, the 14th from the centre.
inline Trellis::Widget& framedTips(Trellis::Widget& parent, Vecta::Vector2f centre, const Bedrock::Color& color = kWhite)
{
    constexpr float kToTip = 13.48f;
    const float side = kToTip * std::sqrt(2.f);
    Trellis::Widget& widget = box(parent, {centre.x, centre.y - kToTip, side, side}, {0, 0, 0, 0});
    set(widget, "border-width", 3.f);
    set(widget, "border-color", color);
    widget.setRotation(kPi / 4.f);
    return widget;
}

/// A table with a scripted input, cranked by hand. Style sheets and what waits for an update end with it.
struct Scene
{
    explicit Scene(Vecta::Vector2f size = {1000.f, 800.f}) : app(size) { app.addInputSource(input); }
    ~Scene()
    {
        app.removeInputSource(input);
        Cascara::StyleEngine::instance().clearStyleSheets();
        Bedrock::Inbox::instance().clear();
        Bedrock::AfterUpdateQueue::instance().clear();
    }
    Scene(const Scene&) = delete;
    Scene& operator=(const Scene&) = delete;

    Trellis::Widget& root() { return *app.mainLayer(); }
    void frame(double dtSeconds = kFrameSeconds) { app.frame(dtSeconds); }
    void frames(int count = 1, double dtSeconds = kFrameSeconds)
    {
        for (int i = 0; i < count; ++i)
            app.frame(dtSeconds);
    }
    QImage picture() { return app.renderToImage(); }
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

    Trellis::Application app;
    TestSupport::ScriptedInput input;
};

/// The picture of a scene of its own, to compare with: there is one application at a time.
template <class Build>
QImage pictureOf(Build build, Vecta::Vector2f size = kSmall)
{
    Scene scene(size);
    build(scene);
    return scene.picture();
}

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
