#include "draw/DrawScene.hpp"

#include <QPainter>

#include <cmath>
#include <random>

namespace Bench
{
namespace
{
constexpr int kTilesASide = 5;

struct Random
{
    explicit Random(unsigned seed) : engine(seed) {}
    double between(double low, double high) { return low + (high - low) * double(engine() % 10000u) / 10000.0; }
    QColor color() { return QColor(int(engine() % 200u), int(engine() % 200u), int(engine() % 200u)); }
    std::mt19937 engine;
};

/// A picture with areas and edges in it; no two are the same.
QImage makePicture(QSize size, Random& random)
{
    QImage image(size, QImage::Format_RGB32);
    image.fill(random.color());
    QPainter painter(&image);
    for (int i = 0; i < 8; ++i)
        painter.fillRect(
            QRectF(random.between(0, size.width()), random.between(0, size.height()), size.width() / 4.0, size.height() / 3.0),
            random.color());
    return image;
}
}

DrawScene groupsScene(QSize size, int groups, unsigned seed)
{
    Random random(seed);
    DrawScene scene{size, {}, 0};
    const int columns = std::max(1, int(std::lround(std::sqrt(groups * 1.6))));
    const int rows = (groups + columns - 1) / columns;
    const double cellWidth = double(size.width()) / columns;
    const double cellHeight = double(size.height()) / rows;
    for (int i = 0; i < groups; ++i) {
        DrawItem group;
        // On whole pixels, as both sides then show the same pixels.
        group.rect = {std::round((i % columns + 0.06) * cellWidth), std::round((i / columns + 0.06) * cellHeight),
                      cellWidth * 0.88, cellHeight * 0.88};
        group.angleRadians = random.between(-0.08, 0.08);
        group.ground = random.color();
        const double stepX = group.rect.width() / kTilesASide;
        const double stepY = group.rect.height() / kTilesASide;
        for (int tile = 0; tile < kTilesASide * kTilesASide; ++tile) {
            DrawItem item;
            item.rect = {(tile % kTilesASide + 0.05) * stepX, (tile / kTilesASide + 0.05) * stepY, stepX * 0.9, stepY * 0.9};
            item.picture = makePicture({64, 56}, random);
            group.items.push_back(item);
        }
        scene.items.push_back(group);
    }
    return scene;
}

DrawScene tableScene(QSize size, int pictures, int spaces, unsigned seed)
{
    Random random(seed);
    DrawScene scene{size, {}, spaces};
    const double unit = size.width() / 3840.0;
    const auto somewhere = [&](double width, double height) {
        const double x = random.between(0.05, 0.95) * (size.width() - width);
        const double y = random.between(0.05, 0.95) * (size.height() - height);
        return QRectF(std::round(x), std::round(y), width, height);
    };
    for (int i = 0; i < pictures; ++i) {
        DrawItem item;
        item.rect = somewhere(900 * unit, 600 * unit);
        item.angleRadians = random.between(-0.5, 0.5);
        item.picture = makePicture({1024, 682}, random);
        scene.items.push_back(item);
    }
    for (int i = 0; i < spaces; ++i) {
        DrawItem space;
        space.rect = somewhere(760 * unit, 600 * unit);
        space.angleRadians = random.between(-0.6, 0.6);
        space.ground = random.color();
        space.border = Qt::white;
        space.borderWidth = 3 * unit;
        space.borderRadius = 24 * unit;
        for (int tile = 0; tile < 12; ++tile) {
            const double x = (20 + tile % 4 * 184) * unit;
            const double y = (24 + tile / 4 * 192) * unit;
            DrawItem item;
            item.rect = {x, y, 168 * unit, 126 * unit};
            item.picture = makePicture({256, 192}, random);
            space.items.push_back(item);
            DrawItem text;
            text.rect = {x, y + 132 * unit, 168 * unit, 40 * unit};
            text.text = QStringLiteral("Item %1 of %2").arg(tile + 1).arg(i + 1);
            space.items.push_back(text);
        }
        scene.items.push_back(space);
    }
    return scene;
}
}
