// Whatever changes, drawing only the damage gives the pixels of drawing everything.

#include <doctest/doctest.h>

#include "RandomEdits.hpp"

#include <Lantern/ImageTarget.hpp>
#include <Lantern/PaintingThreads.hpp>

#include <QRegion>

#include <algorithm>
#include <array>
#include <cmath>

using namespace TrellisTest;

namespace
{
constexpr std::size_t kBudget = 8u << 20;

/// A screen whose pixels are `scale` of one of the table's.
class Screen
{
public:
    Screen(Trellis::Application& application, Vecta::Vector2f scale)
        : m_application(application), m_scale(scale),
          m_size(int(std::ceil(kTable.x * scale.x)), int(std::ceil(kTable.y * scale.y)))
    {
        application.setScreenScale(scale);
        m_toScreen.m11 = scale.x;
        m_toScreen.m22 = scale.y;
    }
    [[nodiscard]] QSize size() const { return m_size; }
    void draw(Lantern::PaintTarget& target, const QRegion& damage)
    {
        target.paint(damage, [this](Lantern::RenderContext& context) {
            context.pushTransform(m_toScreen);
            m_application.render(context);
            context.pop();
        });
    }
    [[nodiscard]] QImage whole()
    {
        Lantern::ImageTarget target(m_size);
        draw(target, QRect(QPoint(), m_size));
        return target.image();
    }
    /// The damage of the table, rounded outwards.
    [[nodiscard]] QRegion damage()
    {
        QRegion result;
        for (const QRect& rect : m_application.collectDamage())
            result += QRectF(rect.x() * m_scale.x, rect.y() * m_scale.y, rect.width() * m_scale.x, rect.height() * m_scale.y)
                          .toAlignedRect();
        return result;
    }

private:
    Trellis::Application& m_application;
    Vecta::Vector2f m_scale;
    Vecta::Transform m_toScreen;
    QSize m_size;
};

/// What is seen after each edit is what drawing everything would give, by one thread.
void checkEdits(unsigned seed, Edits::Kept kept, int threads = 1, int steps = 1000, Vecta::Vector2f scale = {1.f, 1.f})
{
    Edits edits(seed, kept);
    Screen screen(edits.scene.app, scale);
    Lantern::ImageTarget shown(screen.size());
    CAPTURE(seed);
    std::size_t mostKept = 0;
    for (int step = 0; step < steps; ++step) {
        CAPTURE(step);
        edits.step();
        edits.scene.frame();
        {
            const Lantern::PaintingThreads painting(threads, 1);
            screen.draw(shown, screen.damage());
        }
        const QImage whole = screen.whole();
        mostKept = std::max(mostKept, edits.scene.app.keptPictures().count);
        REQUIRE_MESSAGE(shown.image() == whole, "differs by " << difference(shown.image(), whole));
        // In between the pictures are patched, step upon step.
        if (kept == Edits::Kept::Nothing || step % 5 != 0)
            continue;
        edits.scene.app.setPictureBudget(0);
        CHECK(edits.scene.app.keptPictures().count == 0);
        const QImage fresh = screen.whole();
        edits.scene.app.setPictureBudget(kBudget);
        REQUIRE_MESSAGE(whole == fresh, "a picture is stale by " << difference(whole, fresh));
    }
    CHECK((mostKept > 2) == (kept == Edits::Kept::Children));
}
}

TEST_CASE("drawing: after random edits the damage drawn alone equals everything drawn anew")
{
    for (unsigned seed = 1; seed <= 3; ++seed)
        checkEdits(seed, Edits::Kept::Nothing);
}

TEST_CASE("drawing: after random edits no kept picture is stale, and the damage drawn alone equals everything drawn anew")
{
    for (unsigned seed = 1; seed <= 3; ++seed)
        checkEdits(seed, Edits::Kept::Children);
}

TEST_CASE("drawing: after random edits the damage drawn by two threads equals everything drawn by one")
{
    checkEdits(4, Edits::Kept::Nothing, 2, 500);
    checkEdits(5, Edits::Kept::Children, 2, 500);
    checkEdits(6, Edits::Kept::Children, 3, 300);
}

TEST_CASE("drawing: after random edits the same holds on a screen that shows the table larger or smaller, kept or not")
{
    constexpr std::array<Vecta::Vector2f, 4> kScales{{{2.f, 2.f}, {1.25f, 1.25f}, {0.667f, 0.667f}, {1.5f, 1.52f}}};
    unsigned seed = 10;
    for (const Vecta::Vector2f scale : kScales) {
        CAPTURE(scale.x);
        checkEdits(++seed, Edits::Kept::Nothing, 1, 150, scale);
        checkEdits(++seed, Edits::Kept::Children, 1, 250, scale);
        checkEdits(++seed, Edits::Kept::Children, 2, 100, scale);
    }
}
