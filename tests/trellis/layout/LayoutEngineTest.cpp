#include "Scene.hpp"

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

/// Content with a size of its own; counts how often the size was read.
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

TEST_CASE("layout: children stand where the flow or their sides put them")
{
    struct Child
    {
        const char* declarations;
        Vecta::Rect place; ///< in the container
    };
    struct Row
    {
        std::string name;
        Vector2f size;
        const char* container;
        std::vector<Child> children;
    };
    const char* const kInline30 = "display: inline; width: 30px; height: 20px;";
    const Row rows[] = {
        {"blocks stand below each other and are as wide as the container",
         {300, 400},
         "padding: 10px 20px; gap: 5px;",
         {{"height: 50px;", {20, 10, 260, 50}}, {"height: 30px; width: 100px;", {20, 65, 100, 30}}}},
        {"margins keep blocks apart and take from an automatic width",
         {300, 400},
         "",
         {{"height: 50px; margin: 5px 10px 15px 20px;", {20, 5, 270, 50}}, {"height: 30px;", {0, 70, 300, 30}}}},
        {"automatic margins centre a block, or push it to a side",
         {300, 400},
         "",
         {{"width: 100px; height: 10px; margin: 0 auto;", {100, 0, 100, 10}},
          {"width: 100px; height: 10px; margin: 0 0 0 auto;", {200, 10, 100, 10}}}},
        {"inline children share a line until it is full",
         {100, 400},
         "gap: 4px;",
         {{"display: inline; width: 40px; height: 20px;", {0, 0, 40, 20}},
          {"display: inline; width: 40px; height: 30px;", {44, 0, 40, 30}},
          {"display: inline; width: 40px; height: 10px;", {0, 34, 40, 10}}}},
        {"the gap counts in whether a line is full",
         {100, 400},
         "gap: 4px;",
         {{"display: inline; width: 48px; height: 20px;", {0, 0, 48, 20}},
          {"display: inline; width: 48px; height: 20px;", {52, 0, 48, 20}},
          {"display: inline; width: 52px; height: 20px;", {0, 24, 52, 20}},
          {"display: inline; width: 46px; height: 20px;", {0, 48, 46, 20}}}},
        {"an inline child wider than the container has a line of its own",
         {100, 400},
         "",
         {{"display: inline; width: 40px; height: 20px;", {0, 0, 40, 20}},
          {"display: inline; width: 140px; height: 20px;", {0, 20, 140, 20}},
          {"display: inline; width: 40px; height: 20px;", {0, 40, 40, 20}}}},
        {"the alignment centres lines of inline children, not blocks",
         {100, 400},
         "align: center;",
         {{kInline30, {20, 0, 30, 20}},
          {kInline30, {50, 0, 30, 20}},
          {"width: 50px; height: 20px;", {0, 20, 50, 20}},
          {"display: inline; width: 20px; height: 20px;", {40, 40, 20, 20}}}},
        {"the alignment pushes lines of inline children to the right, not blocks",
         {100, 400},
         "align: right;",
         {{kInline30, {40, 0, 30, 20}},
          {kInline30, {70, 0, 30, 20}},
          {"width: 50px; height: 20px;", {0, 20, 50, 20}},
          {"display: inline; width: 20px; height: 20px;", {80, 40, 20, 20}}}},
        {"from the right the first inline child of a line stands on its right, with its margins and its scaled size, and blocks "
         "stay",
         {100, 400},
         "padding: 0 10px 0 4px; direction: rtl; gap: 2px; align: right;",
         {{"display: inline; width: 30px; height: 20px; margin: 0 1px 0 3px;", {59, 0, 30, 20}},
          {"display: inline; width: 30px; height: 20px; scale: 0.5;", {39, 0, 30, 20}},
          {"display: inline; width: 40px; height: 20px;", {50, 22, 40, 20}},
          {"width: 50px; height: 20px;", {4, 44, 50, 20}}}},
        {"from the right a line stands on the left unless the alignment says otherwise",
         {100, 400},
         "direction: rtl;",
         {{kInline30, {30, 0, 30, 20}}, {"display: inline; width: 30px; height: 20px;", {0, 0, 30, 20}}}},
        {"a percentage is a share of the content box, also of paddings",
         {220, 120},
         "padding: 10px;",
         {{"width: 50%; height: 25%; padding: 10%;", {10, 10, 100, 25}}}},
        {"absolute children stand by the sides of the whole parent",
         {300, 200},
         "padding: 10px;",
         {{"height: 10px;", {10, 10, 280, 10}},
          {"position: absolute; right: 5px; bottom: 6px; width: 20px; height: 30px;", {275, 164, 20, 30}},
          {"position: absolute; left: 10%; right: 20px; top: 5px; bottom: 5px;", {30, 5, 250, 190}},
          {"position: absolute; left: 0; top: 0; width: 100%; height: 100%;", {0, 0, 300, 200}},
          {"position: absolute; left: 0; right: 0; top: 0; width: 100px; height: 5px; margin: auto;", {100, 0, 100, 5}}}},
        {"a least height and a greatest width bound what the content wants",
         {300, 300},
         "",
         {{"min-height: 20px; max-width: 50%;", {0, 0, 150, 20}}}},
        {"what is not displayed takes no place, nor a gap",
         {100, 100},
         "gap: 5px;",
         {{"height: 10px; display: none;", {0, 0, 0, 10}}, {"height: 10px;", {0, 0, 100, 10}}}},
    };
    for (const Row& row : rows) {
        INFO(row.name);
        Scene scene;
        auto& box = scene.box(0, 0, row.size.x, row.size.y, row.container);
        std::vector<Widget*> made;
        for (const Child& wanted : row.children)
            made.push_back(&child(box, wanted.declarations));
        for (std::size_t i = 0; i < made.size(); ++i) {
            CAPTURE(i);
            const Vecta::Rect& expected = row.children[i].place;
            CHECK_POINT(made[i]->location(), expected.x, expected.y);
            CHECK_POINT(made[i]->size(), expected.width, expected.height);
        }
    }
}

TEST_CASE("layout: another alignment moves the lines that are there")
{
    Scene scene;
    auto& box = scene.box(0, 0, 100, 400, "align: center;");
    auto& a = child(box, "display: inline; width: 30px; height: 20px;");
    CHECK_POINT(a.location(), 35, 0);
    style(box, "position: absolute; left: 0; top: 0; width: 100px; height: 400px; align: right;");
    CHECK_POINT(a.location(), 70, 0);
}

TEST_CASE("layout: percentages are shares of the container's content box")
{
    Scene scene;
    auto& box = scene.box(0, 0, 220, 120, "padding: 10px;");
    auto& half = child(box, "width: 50%; height: 25%; padding: 10%;");
    CHECK_POINT(half.size(), 100, 25);
    auto& inner = child(half, "height: 1px;");
    CHECK_POINT(inner.location(), 20, 20);
    CHECK_POINT(inner.size(), 60, 1);
}

TEST_CASE("layout: a percentage of a height that follows the content counts as automatic")
{
    Scene scene;
    auto& box = scene.box(0, 0, 100, 100);
    auto& outer = child(box, "");
    auto& inner = child(outer, "height: 50%;");
    child(inner, "height: 30px;");
    CHECK(inner.height() == near(30));
    CHECK(outer.height() == near(30));
}

TEST_CASE("layout: a height that is automatic follows the content, through several levels")
{
    Scene scene;
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
    Scene scene;
    auto& box = scene.box(0, 0, 300, 300);
    auto& button = child(box, "display: inline; padding: 3px 6px;");
    auto* label = new Content(&button, {70, 20});
    CHECK_POINT(button.size(), 82, 26);
    CHECK_POINT(label->size(), 70, 20);
    label->grow({90, 25});
    CHECK_POINT(button.size(), 102, 31);
}

TEST_CASE("layout: a greatest height bounds what the content wants")
{
    Scene scene;
    auto& box = scene.box(0, 0, 300, 300);
    auto& tall = child(box, "max-height: 30px;");
    new Content(&tall, {10, 100});
    CHECK_POINT(tall.size(), 300, 30);
}

TEST_CASE("layout: the flow uses the box as its scale shows it")
{
    Scene scene;
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
    Scene scene;
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
    Scene scene;
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
    Scene scene;
    auto& box = scene.box(0, 0, 100, 100, "gap: 5px;");
    auto& a = child(box, "height: 10px;");
    auto& b = child(box, "height: 10px;");
    style(a, "display: none;");
    CHECK(b.location().y == near(0));
    style(a, "display: block;");
    CHECK(b.location().y == near(15));
}

TEST_CASE("layout: an absolute child is as large as its content unless told otherwise")
{
    Scene scene;
    auto& box = scene.box(0, 0, 300, 200);
    auto& note = child(box, "position: absolute; left: 10px; top: 10px; padding: 4px;");
    new Content(&note, {50, 20});
    CHECK_POINT(note.size(), 58, 28);
}

TEST_CASE("layout: a location in a style sheet takes the widget out of the flow, and back in when it goes")
{
    Scene scene;
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
    Scene scene;
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
    Scene scene;
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
    Scene scene;
    auto& box = scene.box(0, 0, 300, 200);
    for (const float width : {70.3f, 33.333f, 100.01f}) {
        auto& button = child(box, "display: inline; padding: 0 3.7px;");
        auto* content = new Content(&button, {width, 20});
        CAPTURE(width);
        CHECK(content->width() >= width);
        CHECK(content->width() < width + 0.1f);
    }
}

TEST_CASE("layout: a listener to a place is called once, and reads the whole layout")
{
    Scene scene;
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
    Scene scene;
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
    Scene scene;
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

TEST_CASE("layout: growing content of fixed width asks its ancestors only")
{
    Scene scene;
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
    Scene scene;
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
    Scene scene;
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
    Scene scene;
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
    Scene scene;
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
