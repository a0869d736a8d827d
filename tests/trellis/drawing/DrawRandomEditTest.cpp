// Whatever changes, drawing only the damage gives the pixels of drawing everything.

#include <doctest/doctest.h>

#include "RandomEdits.hpp"

#include <Lantern/ImageTarget.hpp>
#include <Lantern/PaintingThreads.hpp>

using namespace TrellisTest;

namespace
{
constexpr std::size_t kBudget = 8u << 20;

/// What is seen after each edit is what drawing everything would give, by one thread.
void checkEdits(unsigned seed, Edits::Kept kept, int threads = 1, int steps = 1000)
{
    Edits edits(seed, kept);
    Lantern::ImageTarget shown({int(kTable.x), int(kTable.y)});
    for (int step = 0; step < steps; ++step) {
        edits.step();
        edits.scene.frame();
        {
            const Lantern::PaintingThreads painting(threads, 1);
            shown.paint(edits.scene.app.collectDamage(),
                        [&](Lantern::RenderContext& context) { edits.scene.app.render(context); });
        }
        const QImage whole = edits.scene.picture();
        REQUIRE_MESSAGE(shown.image() == whole,
                        "seed " << seed << ", step " << step << " differs by " << difference(shown.image(), whole));
        // In between the pictures are patched, step upon step.
        if (kept == Edits::Kept::Nothing || step % 5 != 0)
            continue;
        edits.scene.app.setPictureBudget(0);
        CHECK(edits.scene.app.keptPictures().count == 0);
        const QImage fresh = edits.scene.picture();
        edits.scene.app.setPictureBudget(kBudget);
        REQUIRE_MESSAGE(whole == fresh,
                        "seed " << seed << ", step " << step << ": a picture is stale by " << difference(whole, fresh));
    }
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
