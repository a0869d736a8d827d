#include "Composition.hpp"

#include "CopiedPixels.hpp"
#include "FilledBox.hpp"
#include "PixelRows.hpp"
#include "SampledPixels.hpp"

#include <Lantern/PaintingThreads.hpp>
#include <Pictures.hpp>

#include <doctest/doctest.h>

#include <QImage>
#include <QRegion>

#include <algorithm>
#include <atomic>
#include <memory>
#include <random>

using namespace Lantern;

namespace
{
constexpr QSize kSize(460, 320);
const QRect kWhole(QPoint(), kSize);

QImage turnedPicture(bool hasAlpha, unsigned seed)
{
    QImage image(90, 70, hasAlpha ? QImage::Format_ARGB32_Premultiplied : QImage::Format_RGB32);
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x) {
            const unsigned gray = unsigned(x * 2 + y + int(seed)) % 120u;
            const bool isOpaque = !hasAlpha || std::abs(x - 45) + std::abs(y - 35) < 40;
            image.setPixel(x, y,
                           isOpaque          ? qRgb(int(gray), int(seed % 200), 40)
                               : (x + y) % 2 ? qRgba(0, 0, 0, 0)
                                             : qRgba(20, 0, 9, 60));
        }
    return image;
}

/// Adds the same random drawings to each composition that is given the same seed. Returns how many there are.
int addDrawings(Composition& composition, unsigned seed, int only = -1)
{
    std::mt19937 random(seed);
    const auto number = [&](double low, double high) { return low + (high - low) * double(random() % 10000) / 10000.0; };
    const int count = 10 + int(random() % 20);
    for (int i = 0; i < count; ++i) {
        QTransform toDevice;
        toDevice.translate(number(-40, kSize.width()), number(-40, kSize.height()));
        toDevice.rotate(random() % 3 ? number(-180, 180) : 0.0);
        const QRectF box(0, 0, number(2, 260), number(2, 160));
        const QRect clip = random() % 3 ? kWhole : QRect(int(number(0, 200)), int(number(0, 200)), 150, 90) & kWhole;
        const unsigned opacity = random() % 3 ? 255u : random() % 256u;
        const QRgb pixel = random() % 2 ? 0xff000000u | (random() & 0xffffffu) : 0x40302010u;
        const unsigned kind = random() % 4;
        const bool hasAlpha = random() % 2;
        if (only >= 0 && i != only)
            continue;
        if (kind == 0) {
            composition.add(FilledBox(clip, toDevice, box, pixel));
        } else if (kind == 1) {
            composition.add(
                SampledPixels(kWhole, clip, turnedPicture(hasAlpha, seed), toDevice, box, QRectF(0, 0, 90, 70), opacity));
        } else if (kind == 2) {
            const QImage image = turnedPicture(true, seed);
            const auto rows = std::make_shared<PixelRows>();
            rows->update(image, image.rect());
            composition.add(CopiedPixels(clip, image, rows, toDevice.map(QPointF()).toPoint(), opacity));
        } else {
            composition.add(FilledPixels(toDevice.map(QPointF()).toPoint().x() % 2 ? clip : QRect(clip.topLeft(), QSize(60, 50)),
                                         pixel | 0xff000000u));
        }
    }
    return count;
}

/// Fills its area, and counts how often it is asked where it draws: once for each row, and once more for the first and for the
/// last row of each strip.
class Counted final : public PixelSource
{
public:
    Counted(const QRect& area, std::shared_ptr<std::atomic<int>> questions) : PixelSource(area), m_questions(std::move(questions))
    {
        m_isSolid = true;
        m_between = Between::Convex;
    }
    [[nodiscard]] PixelSpan span(int) const override
    {
        ++*m_questions;
        return {m_area.left(), m_area.right() + 1, m_area.left(), m_area.right() + 1};
    }
    void draw(QRgb* row, int, int begin, int end, const PixelSpan&) const override
    {
        std::fill(row + begin, row + end, 0xffffffffu);
    }

private:
    std::shared_ptr<std::atomic<int>> m_questions;
};

/// In how many strips an area is drawn by so many threads, of which one alone draws what has fewer pixels.
int stripsOf(const QRect& area, int threads, int leastPixels)
{
    const PaintingThreads painting(threads, leastPixels);
    const auto questions = std::make_shared<std::atomic<int>>(0);
    Composition composition;
    composition.add(Counted(area, questions));
    QImage image(kSize, QImage::Format_RGB32);
    composition.drawInto(image, {area});
    return (*questions - area.height()) / 2;
}

QImage ground()
{
    QImage image(kSize, QImage::Format_RGB32);
    image.fill(0xff203040u);
    return image;
}
}

TEST_CASE("composition: what is drawn together has the pixels of what is drawn one by one")
{
    for (unsigned seed = 1; seed <= 60; ++seed) {
        QImage together = ground(), apart = ground();
        Composition composition;
        const int count = addDrawings(composition, seed);
        composition.drawInto(together, {kWhole});
        CHECK(composition.isEmpty());
        for (int i = 0; i < count; ++i) {
            addDrawings(composition, seed, i);
            composition.drawInto(apart, {kWhole});
        }
        REQUIRE_MESSAGE(together == apart, "seed " << seed << " differs by " << TestSupport::difference(together, apart));
    }
}

TEST_CASE("composition: each part has the pixels of the whole, and nothing is drawn outside of it")
{
    std::mt19937 random(9);
    for (unsigned seed = 1; seed <= 60; ++seed) {
        Composition composition;
        QImage whole = ground(), part = ground();
        addDrawings(composition, seed);
        composition.drawInto(whole, {kWhole});
        QRegion area;
        for (int i = 0; i < 3; ++i)
            area += QRect(int(random() % 400), int(random() % 300), 1 + int(random() % 120), 1 + int(random() % 90)) & kWhole;
        addDrawings(composition, seed);
        composition.drawInto(part, std::vector<QRect>(area.begin(), area.end()));
        QImage expected = ground();
        for (const QRect& rect : area)
            for (int y = rect.top(); y <= rect.bottom(); ++y)
                for (int x = rect.left(); x <= rect.right(); ++x)
                    expected.setPixel(x, y, whole.pixel(x, y));
        REQUIRE_MESSAGE(part == expected, "seed " << seed << " differs by " << TestSupport::difference(part, expected));
    }
}

TEST_CASE("composition: two and more threads draw the pixels of one")
{
    for (int count : {2, 3, 5}) {
        for (unsigned seed = 1; seed <= 20; ++seed) {
            Composition composition;
            QImage alone = ground(), shared = ground();
            addDrawings(composition, seed);
            composition.drawInto(alone, {kWhole});
            const PaintingThreads threads(count);
            addDrawings(composition, seed);
            composition.drawInto(shared, {kWhole});
            REQUIRE_MESSAGE(shared == alone, count << " threads, seed " << seed);
        }
    }
}

TEST_CASE("composition: each of several threads has four strips or more, of four rows or more, and one thread has large ones")
{
    CHECK(stripsOf({0, 0, 100, 64}, 1, 1) == 2);
    CHECK(stripsOf({0, 0, 100, 64}, 2, 1) == 8);
    CHECK(stripsOf({0, 0, 100, 66}, 3, 1) >= 12);
    CHECK(stripsOf({0, 0, 100, 320}, 2, 1) == 10);
    CHECK(stripsOf({0, 0, 100, 16}, 2, 1) == 4);
}

TEST_CASE("composition: what has few pixels is drawn by one thread")
{
    CHECK(stripsOf({0, 0, 100, 64}, 2, 6400) == 8);
    CHECK(stripsOf({0, 0, 100, 64}, 2, 6401) == 2);
}

TEST_CASE("composition: what is hidden by something above is not drawn")
{
    static int rowsDrawn = 0;
    struct Counted final : PixelSource
    {
        explicit Counted(const QRect& area) : PixelSource(area) {}
        [[nodiscard]] PixelSpan span(int) const override { return {m_area.left(), m_area.right() + 1, 0, 0}; }
        void draw(QRgb*, int, int, int, const PixelSpan&) const override { ++rowsDrawn; }
    };
    Composition composition;
    QImage image = ground();
    composition.add(Counted(QRect(10, 10, 100, 20)));
    composition.add(FilledPixels(QRect(0, 0, 200, 15), 0xff000000u));
    composition.drawInto(image, {kWhole});
    CHECK(rowsDrawn == 15);
    rowsDrawn = 0;
    composition.add(FilledPixels(QRect(0, 0, 200, 200), 0xff000000u));
    composition.add(Counted(QRect(10, 10, 100, 20)));
    composition.drawInto(image, {kWhole});
    CHECK(rowsDrawn == 20);

    // In a narrow part each source is drawn as a whole, but for what something hides altogether.
    const QRect narrow(20, 0, 30, 40);
    const auto countBelow = [&](const QRect& above) {
        rowsDrawn = 0;
        composition.add(FilledPixels(kWhole, 0xff000000u));
        composition.add(Counted(QRect(10, 10, 100, 20)));
        composition.add(FilledPixels(above, 0xff000000u));
        composition.drawInto(image, {narrow});
        return rowsDrawn;
    };
    CHECK(countBelow(QRect(0, 0, 200, 200)) == 0);
    CHECK(countBelow(QRect(0, 0, 200, 31)) == 20);
    CHECK(countBelow(QRect(0, 5, 200, 200)) == 20);
    CHECK(countBelow(QRect(21, 0, 200, 200)) == 20);
    CHECK(countBelow(QRect(0, 0, 49, 200)) == 20);
}
