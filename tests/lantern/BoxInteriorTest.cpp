#include <doctest/doctest.h>

#include <Pictures.hpp>

#include <Lantern/ImageTarget.hpp>
#include <Lantern/PictureStore.hpp>
#include <Lantern/RenderContext.hpp>
#include <Lantern/Style.hpp>

#include <QRegion>

#include <random>

namespace
{
struct Box
{
    Vecta::Transform transform;
    Vecta::Rect rect;
    float radius = 0.f;
    Lantern::Style style;
    float opacity = 1.f;
};

/// `clipRadius`: 0 for no clip.
QImage pictureOfBox(const Box& box, const QRegion& damage, float clipRadius = 0.f)
{
    Lantern::ImageTarget target({100, 100});
    target.paint(damage, [&](Lantern::RenderContext& context) {
        if (clipRadius > 0.f)
            context.pushClip({0.f, 0.f, 100.f, 100.f}, Lantern::Corners::all(clipRadius));
        context.pushTransform(box.transform);
        context.pushOpacity(box.opacity);
        context.drawRect(box.rect, box.radius, box.style);
        context.pop();
        context.pop();
        if (clipRadius > 0.f)
            context.pop();
    });
    return target.image();
}

/// `whole` inside the damage, black elsewhere.
QImage cutOut(const QImage& whole, const QRegion& damage)
{
    QImage image(whole.size(), whole.format());
    image.fill(Qt::black);
    for (const QRect& rect : damage)
        for (int y = rect.top(); y <= rect.bottom(); ++y)
            for (int x = rect.left(); x <= rect.right(); ++x)
                image.setPixel(x, y, whole.pixel(x, y));
    return image;
}
}

TEST_CASE("box interior: each part of a box shows the pixels of the whole box")
{
    std::mt19937 random(3);
    const auto number = [&](double low, double high) { return float(low + (high - low) * double(random() % 10000) / 10000.0); };
    const auto color = [&] {
        return Bedrock::Color{number(0, 1), number(0, 1), number(0, 1), random() % 2 ? 1.f : 0.5f}.premultiplied();
    };
    for (int i = 0; i < 800; ++i) {
        Box box;
        box.transform = Vecta::Transform::translation({number(20, 60), number(5, 30)})
            * Vecta::Transform::rotation(random() % 2 ? 0.f : number(-1, 1)) * Vecta::Transform::scaling(number(0.5, 1.5));
        box.rect = {number(-20, 0), number(-5, 5), number(20, 60), number(20, 60)};
        box.radius = random() % 3 ? number(1, 25) : 0.f;
        if (random() % 4)
            box.style.setFill(color());
        if (random() % 2)
            box.style.setStroke(color(), number(0.3, 8));
        box.opacity = random() % 2 ? 1.f : 0.7f;
        QRegion damage;
        for (unsigned parts = 1 + random() % 3; parts > 0; --parts)
            damage += QRect(int(number(10, 60)), int(number(10, 60)), int(number(1, 25)), int(number(1, 25)));
        CHECK_PICTURE(pictureOfBox(box, damage), cutOut(pictureOfBox(box, QRect(0, 0, 100, 100)), damage), 0);
    }
}

TEST_CASE("box interior: in a round clip, where the painter draws boxes, a part at the edge shows the pixels of the whole box")
{
    std::mt19937 random(5);
    const auto number = [&](double low, double high) { return float(low + (high - low) * double(random() % 10000) / 10000.0); };
    for (int i = 0; i < 300; ++i) {
        Box box;
        box.transform = Vecta::Transform::translation({number(30, 50), number(20, 40)});
        box.rect = {number(-20, 0), number(-5, 5), number(20, 60), number(20, 60)};
        box.radius = number(1, 10);
        box.style.setFill({1.f, 1.f, 1.f, 1.f});
        const QRect part(int(number(20, 60)), int(number(20, 60)), int(number(1, 25)), int(number(1, 25)));
        CHECK_PICTURE(pictureOfBox(box, part, 5.f), cutOut(pictureOfBox(box, QRect(0, 0, 100, 100), 5.f), part), 0);
    }
    // The surfaces of the clip would count in other tests' memory of pictures.
    Lantern::PictureStore store;
    for (int i = 0; i < 100 && Lantern::PictureStore::surfaceBytes() > 0; ++i)
        store.endFrame();
    CHECK(Lantern::PictureStore::surfaceBytes() == 0);
}
