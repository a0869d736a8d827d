#include "TestScene.hpp"

#include <LogCapture.hpp>

#include <stdexcept>

using Bedrock::makeIntrusive;
using Trellis::Widget;
using Vecta::Vector2f;
using namespace TrellisTest;

namespace
{
Widget& child(Widget& parent, const char* declarations)
{
    auto* widget = new Widget(&parent);
    style(*widget, declarations);
    return *widget;
}

/// Content of a size that it says itself, and a count of how often it was asked.
class Content final : public Widget
{
public:
    Content(Widget* parent, Vector2f natural) : Widget(parent), m_natural(natural) {}
    void grow(Vector2f natural)
    {
        m_natural = natural;
        requestLayout();
    }
    mutable int asked = 0;

protected:
    Vector2f contentSize(float availableWidth) const override
    {
        ++asked;
        return {std::min(m_natural.x, availableWidth), m_natural.y};
    }

private:
    Vector2f m_natural;
};
}

TEST_CASE("layout: blocks stand below each other and are as wide as the container")
{
    TestScene scene;
    auto& box = scene.box(0, 0, 300, 400, "padding: 10px 20px; gap: 5px;");
    auto& a = child(box, "height: 50px;");
    auto& b = child(box, "height: 30px; width: 100px;");
    CHECK_POINT(a.location(), 20, 10);
    CHECK_POINT(a.size(), 260, 50);
    CHECK_POINT(b.location(), 20, 65);
    CHECK_POINT(b.size(), 100, 30);
}

TEST_CASE("layout: margins keep blocks apart and take from an automatic width")
{
    TestScene scene;
    auto& box = scene.box(0, 0, 300, 400);
    auto& a = child(box, "height: 50px; margin: 5px 10px 15px 20px;");
    auto& b = child(box, "height: 30px;");
    CHECK_POINT(a.location(), 20, 5);
    CHECK_POINT(a.size(), 270, 50);
    CHECK_POINT(b.location(), 0, 70);
}

TEST_CASE("layout: automatic margins centre a block, or push it to a side")
{
    TestScene scene;
    auto& box = scene.box(0, 0, 300, 400);
    auto& middle = child(box, "width: 100px; height: 10px; margin: 0 auto;");
    auto& right = child(box, "width: 100px; height: 10px; margin: 0 0 0 auto;");
    CHECK_POINT(middle.location(), 100, 0);
    CHECK_POINT(right.location(), 200, 10);
}

TEST_CASE("layout: inline children share a line until it is full")
{
    TestScene scene;
    auto& box = scene.box(0, 0, 100, 400, "gap: 4px;");
    auto& a = child(box, "display: inline; width: 40px; height: 20px;");
    auto& b = child(box, "display: inline; width: 40px; height: 30px;");
    auto& c = child(box, "display: inline; width: 40px; height: 10px;");
    CHECK_POINT(a.location(), 0, 0);
    CHECK_POINT(b.location(), 44, 0);
    CHECK_POINT(c.location(), 0, 34);
}

TEST_CASE("layout: an inline child wider than the container has a line of its own")
{
    TestScene scene;
    auto& box = scene.box(0, 0, 100, 400);
    child(box, "display: inline; width: 40px; height: 20px;");
    auto& wide = child(box, "display: inline; width: 140px; height: 20px;");
    auto& after = child(box, "display: inline; width: 40px; height: 20px;");
    CHECK_POINT(wide.location(), 0, 20);
    CHECK_POINT(after.location(), 0, 40);
}

TEST_CASE("layout: the alignment moves lines of inline children, not blocks")
{
    TestScene scene;
    auto& box = scene.box(0, 0, 100, 400, "align: center;");
    auto& a = child(box, "display: inline; width: 30px; height: 20px;");
    auto& b = child(box, "display: inline; width: 30px; height: 20px;");
    auto& block = child(box, "width: 50px; height: 20px;");
    auto& last = child(box, "display: inline; width: 20px; height: 20px;");
    CHECK_POINT(a.location(), 20, 0);
    CHECK_POINT(b.location(), 50, 0);
    CHECK_POINT(block.location(), 0, 20);
    CHECK_POINT(last.location(), 40, 40);
    style(box, "position: absolute; left: 0; top: 0; width: 100px; height: 400px; align: right;");
    CHECK_POINT(a.location(), 40, 0);
    CHECK_POINT(last.location(), 80, 40);
}

TEST_CASE("layout: percentages are shares of the container's content box")
{
    TestScene scene;
    auto& box = scene.box(0, 0, 220, 120, "padding: 10px;");
    auto& half = child(box, "width: 50%; height: 25%; padding: 10%;");
    CHECK_POINT(half.size(), 100, 25);
    auto& inner = child(half, "height: 1px;");
    CHECK_POINT(inner.location(), 20, 20);
    CHECK_POINT(inner.size(), 60, 1);
}

TEST_CASE("layout: a percentage of a height that follows the content counts as automatic")
{
    TestScene scene;
    auto& box = scene.box(0, 0, 100, 100);
    auto& outer = child(box, "");
    auto& inner = child(outer, "height: 50%;");
    child(inner, "height: 30px;");
    CHECK(inner.height() == near(30));
    CHECK(outer.height() == near(30));
}

TEST_CASE("layout: a height that is automatic follows the content, through several levels")
{
    TestScene scene;
    auto& box = scene.box(0, 0, 100, 100);
    auto& outer = child(box, "padding: 5px;");
    auto& middle = child(outer, "padding: 5px;");
    auto& a = child(middle, "height: 10px;");
    auto& after = child(box, "height: 1px;");
    CHECK(outer.height() == near(30));
    CHECK_POINT(after.location(), 0, 30);
    style(a, "height: 40px;");
    CHECK(middle.height() == near(50));
    CHECK(outer.height() == near(60));
    CHECK_POINT(after.location(), 0, 60);
}

TEST_CASE("layout: an inline container is as large as its content")
{
    TestScene scene;
    auto& box = scene.box(0, 0, 300, 300);
    auto& button = child(box, "display: inline; padding: 3px 6px;");
    auto* label = new Content(&button, {70, 20});
    CHECK_POINT(button.size(), 82, 26);
    CHECK_POINT(label->size(), 70, 20);
    label->grow({90, 25});
    CHECK_POINT(button.size(), 102, 31);
}

TEST_CASE("layout: least and greatest sizes bound what the content wants")
{
    TestScene scene;
    auto& box = scene.box(0, 0, 300, 300);
    auto& small = child(box, "min-height: 20px; max-width: 50%;");
    auto& tall = child(box, "max-height: 30px;");
    new Content(&tall, {10, 100});
    CHECK_POINT(small.size(), 150, 20);
    CHECK_POINT(tall.size(), 300, 30);
}

TEST_CASE("layout: the flow reckons with the box as its scale shows it")
{
    TestScene scene;
    auto& box = scene.box(0, 0, 300, 300);
    std::vector<Widget*> tiles;
    for (int i = 0; i < 9; ++i) {
        tiles.push_back(&child(box, "display: inline; width: 100%; height: 100%;"));
        tiles.back()->setScale(1.f / 3.f);
    }
    for (int i = 0; i < 9; ++i) {
        CAPTURE(i);
        CHECK_POINT(tiles[std::size_t(i)]->location(), 100 * (i % 3), 100 * (i / 3));
        CHECK_POINT(tiles[std::size_t(i)]->size(), 300, 300);
    }
    for (Widget* tile : tiles)
        tile->setScale(0.25f);
    CHECK_POINT(tiles[3]->location(), 225, 0);
    CHECK_POINT(tiles[4]->location(), 0, 75);
}

TEST_CASE("layout: thirds of any width fit three to a line")
{
    TestScene scene;
    for (const float width : {100.f, 333.3f, 617.f, 1001.7f}) {
        CAPTURE(width);
        auto& box = scene.box(0, 0, width, 100);
        Widget* last = nullptr;
        for (int i = 0; i < 3; ++i) {
            last = &child(box, "display: inline; width: 100%; height: 10px;");
            last->setScale(1.f / 3.f);
        }
        CHECK(last->location().y == 0.f);
    }
}

TEST_CASE("layout: the flow keeps the order of adding, whatever is raised")
{
    TestScene scene;
    auto& box = scene.box(0, 0, 100, 100);
    auto& a = child(box, "height: 10px;");
    auto& b = child(box, "height: 10px;");
    a.raiseToTop();
    CHECK(a.location().y == near(0));
    CHECK(b.location().y == near(10));
    box.addChild(a); // added anew: now the last
    CHECK(a.location().y == near(10));
    CHECK(b.location().y == near(0));
}

TEST_CASE("layout: what is not displayed takes no place, nor a gap")
{
    TestScene scene;
    auto& box = scene.box(0, 0, 100, 100, "gap: 5px;");
    auto& a = child(box, "height: 10px;");
    auto& b = child(box, "height: 10px;");
    style(a, "display: none;");
    CHECK(b.location().y == near(0));
    style(a, "display: block;");
    CHECK(b.location().y == near(15));
}

TEST_CASE("layout: absolute children stand by the sides of the whole parent")
{
    TestScene scene;
    auto& box = scene.box(0, 0, 300, 200, "padding: 10px;");
    auto& flow = child(box, "height: 10px;");
    auto& corner = child(box, "position: absolute; right: 5px; bottom: 6px; width: 20px; height: 30px;");
    auto& stretched = child(box, "position: absolute; left: 10%; right: 20px; top: 5px; bottom: 5px;");
    auto& ground = child(box, "position: absolute; left: 0; top: 0; width: 100%; height: 100%;");
    auto& centred = child(box, "position: absolute; left: 0; right: 0; top: 0; width: 100px; height: 5px; margin: auto;");
    CHECK_POINT(flow.location(), 10, 10);
    CHECK_POINT(corner.location(), 275, 164);
    CHECK_POINT(stretched.location(), 30, 5);
    CHECK_POINT(stretched.size(), 250, 190);
    CHECK_POINT(ground.location(), 0, 0);
    CHECK_POINT(ground.size(), 300, 200);
    CHECK(centred.location().x == near(100));
}

TEST_CASE("layout: an absolute child is as large as its content unless told otherwise")
{
    TestScene scene;
    auto& box = scene.box(0, 0, 300, 200);
    auto& note = child(box, "position: absolute; left: 10px; top: 10px; padding: 4px;");
    new Content(&note, {50, 20});
    CHECK_POINT(note.size(), 58, 28);
}

TEST_CASE("layout: a location in a style sheet takes the widget out of the flow, and back in when it goes")
{
    TestScene scene;
    auto& box = scene.box(0, 0, 300, 200);
    auto& a = child(box, "height: 10px; width: 10px; location: 0 0;");
    auto& b = child(box, "height: 10px;");
    CHECK_POINT(a.location(), 0, 0);
    CHECK_POINT(b.location(), 0, 0);
    style(a, "height: 10px; width: 10px; location: 40 50;");
    CHECK_POINT(a.location(), 40, 50);
    Cascara::StyleEngine::instance().clearStyleSheets();
    style(box, "position: absolute; left: 0; top: 0; width: 300px; height: 200px;");
    style(a, "height: 10px;");
    style(b, "height: 10px;");
    CHECK_POINT(a.location(), 0, 0);
    CHECK_POINT(b.location(), 0, 10);
}

TEST_CASE("layout: a widget moved at run time keeps its place in the flow and can return to it")
{
    TestScene scene;
    auto& box = scene.box(0, 0, 300, 200);
    auto& a = child(box, "height: 10px;");
    auto& b = child(box, "height: 10px;");
    a.setLocation({200, 150});
    CHECK_POINT(a.location(), 200, 150);
    CHECK_POINT(b.location(), 0, 10);
    a.attribute("location")->clearValue(Facet::kUserLayer);
    CHECK_POINT(a.location(), 0, 0);
}

TEST_CASE("layout: a location that a style sheet sets counts even while another one shows")
{
    TestScene scene;
    auto& box = scene.box(0, 0, 300, 200);
    auto& a = child(box, "height: 10px;");
    auto& b = child(box, "height: 10px;");
    a.setLocation({200, 150});
    CHECK_POINT(b.location(), 0, 10);
    style(a, "height: 10px; location: 200 150;");
    CHECK_POINT(a.location(), 200, 150);
    CHECK_POINT(b.location(), 0, 0);
}

TEST_CASE("layout: a padded inline widget leaves its content the width that it asked for")
{
    TestScene scene;
    auto& box = scene.box(0, 0, 300, 200);
    for (const float width : {70.3f, 33.333f, 100.01f}) {
        auto& button = child(box, "display: inline; padding: 0 3.7px;");
        auto* content = new Content(&button, {width, 20});
        CAPTURE(width);
        CHECK(content->width() >= width);
        CHECK(content->width() < width + 0.1f);
    }
}

TEST_CASE("layout: a listener hears of a new place once, and reads the whole layout")
{
    TestScene scene;
    auto& box = scene.box(0, 0, 300, 200);
    auto& a = child(box, "height: 10px;");
    auto& b = child(box, "height: 10px;");
    auto& c = child(box, "height: 10px;");
    (void)c.location();
    int changes = 0;
    Vector2f seen;
    b.attribute("location")->addListener([&] {
        ++changes;
        seen = c.location();
    });
    style(a, "height: 50px;");
    scene.frames();
    CHECK(changes == 1);
    CHECK_POINT(seen, 0, 60);
    scene.frames(3);
    CHECK(changes == 1);
}

TEST_CASE("layout: a listener to a place may take siblings away")
{
    TestScene scene;
    auto& box = scene.box(0, 0, 300, 200);
    auto& a = child(box, "height: 10px;");
    auto& b = child(box, "height: 10px;");
    auto& c = child(box, "height: 10px;");
    auto& d = child(box, "height: 10px;");
    (void)c.location();
    for (Widget* widget : {&b, &c})
        widget->attribute("location")->addListener([&] {
            if (b.parent())
                b.removeFromParent();
        });
    style(a, "height: 50px;");
    CHECK(d.location().y == near(60));
    scene.frames(2);
    CHECK(box.children().size() == 3);
}

TEST_CASE("layout: a change inside a widget of fixed size does not lay out the rest of the table")
{
    TestScene scene;
    Content* content = nullptr;
    for (int i = 0; i < 50; ++i) {
        auto& box = scene.box(float(i), 0, 100, 100);
        for (int k = 0; k < 10; ++k)
            content = new Content(&child(box, ""), {20, 5});
    }
    scene.frames();
    const long before = scene.app.counters().widgetsArranged;
    content->grow({30, 6});
    scene.frames();
    const long work = scene.app.counters().widgetsArranged - before;
    CHECK(work > 0);
    CHECK(work <= 3 + 10); // the content, its container, the box; and siblings only if they were resized

    const long again = scene.app.counters().widgetsArranged;
    scene.frames(10);
    CHECK(scene.app.counters().widgetsArranged == again);
}

TEST_CASE("layout: growing content of fixed width asks nobody but its ancestors")
{
    TestScene scene;
    auto& box = scene.box(0, 0, 100, 100);
    auto* a = new Content(&box, {20, 5});
    auto* b = new Content(&box, {20, 5});
    (void)b->size();
    const int asked = b->asked;
    a->grow({20, 9});
    CHECK(b->location().y == near(9));
    CHECK(b->asked == asked);
}

TEST_CASE("layout: moving, turning and fading a widget out of the flow lays nothing out")
{
    TestScene scene;
    auto& box = scene.box(0, 0, 100, 100);
    child(box, "height: 10px;");
    scene.frames();
    const long before = scene.app.counters().widgetsArranged;
    box.setLocation({50, 60});
    box.setRotationAboutCenter(0.5f);
    box.setOpacity(0.5f);
    scene.frames();
    CHECK(scene.app.counters().widgetsArranged == before);
}

TEST_CASE("layout: deep nesting costs one question per widget and width")
{
    TestScene scene;
    Widget* parent = &scene.box(0, 0, 500, 500);
    for (int i = 0; i < 12; ++i)
        parent = &child(*parent, "padding: 1px;");
    auto* content = new Content(parent, {20, 5});
    (void)content->size();
    CHECK(content->asked <= 4);
}

TEST_CASE("layout: a tree without application lays itself out")
{
    const auto root = makeIntrusive<Widget>();
    auto* content = new Content(root.get(), {120, 30});
    CHECK_POINT(root->size(), 120, 30);
    root->setSize({60, 60});
    CHECK_POINT(content->size(), 60, 30);
    Cascara::StyleEngine::instance().clearStyleSheets();
}

TEST_CASE("layout: the main layer has the table's size, and follows it")
{
    TestScene scene;
    auto& all = child(*scene.app.mainLayer(), "width: 100%; height: 100%;");
    CHECK_POINT(all.size(), 1000, 800);
    scene.app.resize({400, 300});
    CHECK_POINT(all.size(), 400, 300);
    CHECK_POINT(scene.app.size(), 400, 300);
}

TEST_CASE("layout: an exception from a widget's own size is logged once, and the others are laid out in the next frame")
{
    struct Sizeless final : Widget
    {
        using Widget::Widget;
        Vecta::Vector2f contentSize(float) const override
        {
            if (throws)
                throw std::runtime_error("no size");
            return {10.f, 10.f};
        }
        bool throws = true;
    };
    TestScene scene;
    auto* bad = new Sizeless(scene.app.mainLayer().get());
    TestSupport::expectError("Application::frame # The layout threw (no size), the frame goes on");
    scene.frames();
    bad->throws = false;
    auto* later = new Widget(scene.app.mainLayer().get());
    style(*later, "width: 30px; height: 20px;");
    scene.frames();
    CHECK(later->size().x == near(30));
    CHECK(later->size().y == near(20));
}
