#include "RoundBoxCoverage.hpp"

#include <QImage>
#include <QPainter>
#include <QPainterPath>

#include <doctest/doctest.h>

#include <cmath>

using namespace Lantern;

TEST_CASE("round box coverage: a sharp box covers what lies in it, and its share of a pixel that it cuts")
{
    const RoundBoxCoverage coverage({{10.f, 10.f, 20.5f, 0.5f}, {}}, 1.0);
    CHECK(coverage.at(15.5, 10.5) == doctest::Approx(0.5));
    CHECK(coverage.at(30.5, 10.5) == doctest::Approx(0.25));
    CHECK(coverage.at(9.0, 10.5) == 0.0);
    CHECK(coverage.at(15.5, 12.0) == 0.0);
}

TEST_CASE("round box coverage: corners are those that a painter fills, each with its own radii")
{
    RoundBox box{{3.25f, 4.5f, 60.f, 40.f}, {}};
    box.corners.topLeft = {20.f, 20.f};
    box.corners.topRight = {8.f, 16.f};
    box.corners.bottomLeft = {30.f, 12.f};
    QPainterPath path;
    const QRectF rect(3.25, 4.5, 60, 40);
    path.moveTo(rect.left() + 20, rect.top());
    path.lineTo(rect.right() - 8, rect.top());
    path.arcTo(QRectF(rect.right() - 16, rect.top(), 16, 32), 90, -90);
    path.lineTo(rect.bottomRight());
    path.lineTo(rect.left() + 30, rect.bottom());
    path.arcTo(QRectF(rect.left(), rect.bottom() - 24, 60, 24), 270, -90);
    path.lineTo(rect.left(), rect.top() + 20);
    path.arcTo(QRectF(rect.left(), rect.top(), 40, 40), 180, -90);
    path.closeSubpath();
    QImage image(70, 50, QImage::Format_RGB32);
    image.fill(Qt::black);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillPath(path, Qt::white);
    painter.end();

    const RoundBoxCoverage coverage(box, 1.0);
    double worst = 0.0, sum = 0.0;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x) {
            const double difference = std::abs(coverage.at(x + 0.5, y + 0.5) - qGreen(image.pixel(x, y)) / 255.0);
            worst = std::max(worst, difference);
            sum += difference;
        }
    CHECK(worst < 0.15);
    CHECK(sum / (70.0 * 50.0) < 0.002);
}

TEST_CASE("round box coverage: in a larger scale an edge is as sharp as in any other")
{
    const RoundBoxCoverage coverage({{0.f, 0.f, 10.f, 10.f}, Corners::all(5.f)}, 4.0);
    CHECK(coverage.at(0.0, 5.0) == doctest::Approx(0.5));
    CHECK(coverage.at(0.13, 5.0) == doctest::Approx(1.0));
    CHECK(coverage.at(-0.13, 5.0) == 0.0);
}
