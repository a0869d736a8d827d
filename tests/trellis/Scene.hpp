#pragma once

#include <Trellis/Application.hpp>
#include <Trellis/Widget.hpp>

#include <QImage>
#include <QRegion>

#include <algorithm>
#include <cstdlib>

namespace TestSupport
{
/// A small table whose widgets are placed by hand, and what drawing tests compare.
struct Scene
{
    explicit Scene(Vecta::Vector2f size = {200.f, 200.f}) : app(size) {}

    Trellis::Application app;

    Trellis::Widget& root() { return *app.mainLayer(); }
    void frame(double dt = 1.0 / 60.0) { app.frame(dt); }
    QImage picture() { return app.renderToImage(); }
};

/// The picture of a scene of its own, to compare with: there is one application at a time.
template <class Build>
QImage pictureOf(Build build, Vecta::Vector2f size = {200.f, 200.f})
{
    Scene scene(size);
    build(scene);
    return scene.picture();
}

template <class W>
W& place(W& widget, const Vecta::Rect& rect)
{
    widget.setLocation({rect.x, rect.y});
    widget.setSize({rect.width, rect.height});
    return widget;
}

template <class T>
void set(Trellis::Widget& widget, const char* attribute, T value)
{
    auto* typed = dynamic_cast<Facet::AttributeT<T>*>(widget.attribute(attribute));
    Q_ASSERT_X(typed, "set", attribute);
    typed->setValue(std::move(value));
}

/// A new widget in `parent`, of one colour.
inline Trellis::Widget& box(Trellis::Widget& parent, const Vecta::Rect& rect, const Bedrock::Color& color)
{
    auto widget = Bedrock::makeIntrusive<Trellis::Widget>();
    parent.addChild(widget);
    place(*widget, rect);
    set(*widget, "background-color", color);
    return *widget;
}

/// The largest difference of any colour channel of any pixel.
inline int difference(const QImage& a, const QImage& b)
{
    if (a.size() != b.size())
        return 256;
    int largest = 0;
    for (int y = 0; y < a.height(); ++y)
        for (int x = 0; x < a.width(); ++x) {
            const QColor p = a.pixelColor(x, y), q = b.pixelColor(x, y);
            largest =
                std::max({largest, std::abs(p.red() - q.red()), std::abs(p.green() - q.green()), std::abs(p.blue() - q.blue())});
        }
    return largest;
}

/// Around all pixels that are not black; null when there is none.
inline QRect litBounds(const QImage& image)
{
    QRect bounds;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            if (image.pixelColor(x, y) != QColor(Qt::black))
                bounds |= QRect(x, y, 1, 1);
    return bounds;
}

inline const Bedrock::Color kRed{1.f, 0.f, 0.f, 1.f};
inline const Bedrock::Color kGreen{0.f, 1.f, 0.f, 1.f};
inline const Bedrock::Color kBlue{0.f, 0.f, 1.f, 1.f};
inline const Bedrock::Color kWhite{1.f, 1.f, 1.f, 1.f};
}
