#include "Scene.hpp"

#include <Trellis/Operator.hpp>

using Bedrock::IntrusivePtr;
using Bedrock::IntrusiveWeakPtr;
using Bedrock::makeIntrusive;
using Trellis::Widget;
using namespace TrellisTest;

namespace
{
std::vector<QByteArray> ids(const std::vector<IntrusivePtr<Widget>>& widgets)
{
    std::vector<QByteArray> result;
    for (const auto& widget : widgets)
        result.push_back(widget->cssId());
    return result;
}

Widget& named(Widget& parent, const char* id, const char* type = "Widget")
{
    auto* widget = new Widget(&parent);
    widget->setCSSId(id);
    widget->setCSSType(type);
    return *widget;
}
}

TEST_CASE("widget: one made with a parent belongs to it from then on")
{
    const long before = Bedrock::ReferenceCounted::liveObjects();
    {
        const auto parent = makeIntrusive<Widget>();
        auto* child = new Widget(parent.get());
        CHECK(child->parent() == parent.get());
        CHECK(child->referenceCount() == 1);
        CHECK(parent->children().size() == 1);
        CHECK(child->styleParent() == parent.get());
    }
    CHECK(Bedrock::ReferenceCounted::liveObjects() == before);
}

TEST_CASE("widget: a weak pointer made before the widget has an owner gives it when it has one")
{
    auto* widget = new Widget;
    const IntrusiveWeakPtr<Widget> weak(widget);
    CHECK_FALSE(weak.lock());
    {
        const IntrusivePtr<Widget> strong(widget);
        CHECK(weak.lock() == widget);
    }
    CHECK_FALSE(weak);
}

TEST_CASE("widget: adding a child takes it from its former parent, and puts it on top")
{
    const auto a = makeIntrusive<Widget>();
    const auto b = makeIntrusive<Widget>();
    Widget& child = named(*a, "child");
    named(*b, "first");
    b->addChild(child);
    CHECK(a->children().empty());
    CHECK(ids(b->children()) == std::vector<QByteArray>{"first", "child"});
    CHECK(child.parent() == b.get());
}

TEST_CASE("widget: adding a child again puts it on top")
{
    const auto parent = makeIntrusive<Widget>();
    Widget& one = named(*parent, "one");
    named(*parent, "two");
    parent->addChild(one);
    CHECK(ids(parent->children()) == std::vector<QByteArray>{"two", "one"});
}

TEST_CASE("widget: raising and lowering change the order among siblings")
{
    const auto parent = makeIntrusive<Widget>();
    Widget& a = named(*parent, "a");
    named(*parent, "b");
    Widget& c = named(*parent, "c");
    a.raiseToTop();
    CHECK(ids(parent->children()) == std::vector<QByteArray>{"b", "c", "a"});
    a.raiseToTop(false);
    CHECK(ids(parent->children()) == std::vector<QByteArray>{"b", "c", "a"});
    c.lowerToBottom();
    CHECK(ids(parent->children()) == std::vector<QByteArray>{"c", "b", "a"});
}

TEST_CASE("widget: raising with its ancestors raises each of them")
{
    const auto root = makeIntrusive<Widget>();
    Widget& left = named(*root, "left");
    named(*root, "right");
    Widget& inner = named(left, "inner");
    named(left, "other");
    inner.raiseToTop();
    CHECK(ids(root->children()) == std::vector<QByteArray>{"left", "right"});
    named(left, "third");
    inner.raiseToTop(true);
    CHECK(ids(root->children()) == std::vector<QByteArray>{"right", "left"});
    CHECK(ids(left.children()).back() == "inner");
}

TEST_CASE("widget: descendants are found by type, depth first, in child order, without the widget itself")
{
    const auto root = makeIntrusive<Widget>();
    root->setCSSType("Tray");
    Widget& a = named(*root, "a");
    named(a, "deep", "Tray");
    named(*root, "b", "Tray");
    CHECK(root->findByType("Tray")->cssId() == "deep");
    const auto all = root->findAllByType("Tray");
    REQUIRE(all.size() == 2);
    CHECK(all[1]->cssId() == "b");
    CHECK(root->findByType("Absent") == nullptr);
}

TEST_CASE("widget: a class given before it is added is styled by rules that name its ancestors")
{
    Scene scene;
    Cascara::StyleEngine::instance().addStyleSheet(QStringLiteral(".tray .tile { opacity: 0.5; }"), QStringLiteral("test.css"));
    auto& tray = scene.box(0, 0, 10, 10);
    tray.addCSSClass("tray");
    const auto tile = makeIntrusive<Widget>();
    tile->addCSSClass("tile");
    CHECK(tile->opacity() == 1.f);
    tray.addChild(tile);
    CHECK(tile->opacity() == 0.5f);
    tray.removeChild(*tile);
    CHECK(tile->opacity() == 1.f);
}

TEST_CASE("widget: without an application one that is taken away is destroyed at once")
{
    const auto parent = makeIntrusive<Widget>();
    const IntrusiveWeakPtr<Widget> child(new Widget(parent.get()));
    child.lock()->removeFromParent();
    CHECK_FALSE(child);
}

TEST_CASE("widget: in an application one that is taken away lives until the end of the frame")
{
    Scene scene;
    auto& widget = scene.box(0, 0, 10, 10);
    const IntrusiveWeakPtr<Widget> weak(&widget);
    widget.removeFromParent();
    CHECK(widget.parent() == nullptr);
    CHECK(weak);
    CHECK(scene.app.needsFrame());
    scene.frames();
    CHECK_FALSE(weak);
}

TEST_CASE("widget: one that is taken away and put back in the same frame lives on")
{
    Scene scene;
    auto& widget = scene.box(0, 0, 10, 10);
    const IntrusiveWeakPtr<Widget> weak(&widget);
    widget.removeFromParent();
    scene.app.mainLayer()->addChild(widget);
    scene.frames(2);
    CHECK(weak.lock());
    CHECK(widget.parent() == scene.app.mainLayer().get());
}

TEST_CASE("widget: a child that is held elsewhere survives its parent")
{
    const auto child = makeIntrusive<Widget>();
    {
        const auto parent = makeIntrusive<Widget>();
        parent->addChild(child);
    }
    CHECK(child->parent() == nullptr);
    CHECK(child->styleParent() == nullptr);
    CHECK(child->referenceCount() == 1);
}

TEST_CASE("widget: removing the child of another widget does nothing")
{
    const auto a = makeIntrusive<Widget>();
    const auto b = makeIntrusive<Widget>();
    auto* child = new Widget(a.get());
    b->removeChild(*child);
    CHECK(child->parent() == a.get());
    b->removeFromParent();
}

TEST_CASE("widget: a tree that is torn down leaves nothing behind")
{
    const long before = Bedrock::ReferenceCounted::liveObjects();
    {
        Scene scene;
        for (int i = 0; i < 5; ++i) {
            Widget& outer = scene.box(0, 0, 10, 10);
            for (int k = 0; k < 5; ++k)
                (new Widget(&outer))->addOperator(makeIntrusive<Trellis::Operator>());
        }
        scene.frames(2);
        scene.app.mainLayer()->children().front()->removeFromParent();
    }
    CHECK(Bedrock::ReferenceCounted::liveObjects() == before);
}

TEST_CASE("widget: the main layer may outlive the application")
{
    IntrusivePtr<Widget> layer;
    {
        Scene scene;
        scene.box(0, 0, 10, 10).setUpdating(true);
        layer = scene.app.mainLayer();
    }
    CHECK(layer->children().size() == 1);
    CHECK(layer->children().front()->isUpdating());
    layer->removeChild(*layer->children().front());
}

TEST_CASE("widget: its attributes can be reached by name")
{
    const auto widget = makeIntrusive<Widget>();
    for (const char* name : {"location",
                             "width",
                             "height",
                             "min-width",
                             "max-width",
                             "min-height",
                             "max-height",
                             "left",
                             "top",
                             "right",
                             "bottom",
                             "padding",
                             "margin",
                             "position",
                             "display",
                             "align",
                             "direction",
                             "gap",
                             "rotation",
                             "scale",
                             "opacity",
                             "background-color",
                             "border-color",
                             "border-width",
                             "border-radius",
                             "overflow",
                             "input-transparent",
                             "movable",
                             "rotatable",
                             "scalable",
                             "inertia",
                             "min-scale",
                             "max-scale"}) {
        CAPTURE(name);
        CHECK(widget->attribute(name) != nullptr);
    }
}

TEST_CASE("widget: a class stands for the type Widget unless a subclass says otherwise")
{
    CHECK(makeIntrusive<Widget>()->cssType() == "Widget");
    const auto parent = makeIntrusive<Widget>();
    CHECK((new Widget(parent.get()))->cssType() == "Widget");
}

namespace
{
class GapWidget : public Widget
{
public:
    explicit GapWidget(Widget* parent) : Widget(parent) {}
    Facet::AttributeT<float> entryGap{this, "test-entry-gap", 1.f};
};
}

TEST_CASE("widget: attributes of a subclass are styled by the end of the frame, though the base was styled without them")
{
    const Facet::AttributeT<float> known(nullptr, "test-entry-gap"); // the main layer, which is matched first, has none
    for (const char* css : {"* { test-entry-gap: 7 }", "#main-layer > * { test-entry-gap: 7 }"}) {
        INFO(css);
        Scene scene;
        scene.frames();
        Cascara::StyleEngine::instance().addStyleSheet(QString::fromUtf8(css), QStringLiteral("test.css"));
        auto* widget = new GapWidget(scene.app.mainLayer().get());
        CHECK(scene.app.needsFrame());
        scene.frames();
        CHECK(widget->entryGap == 7.f);
    }
}

TEST_CASE("widget: postConstruct styles the attributes of its subclass at once")
{
    const Facet::AttributeT<float> known(nullptr, "test-entry-gap");
    Scene scene;
    Cascara::StyleEngine::instance().addStyleSheet(QStringLiteral("* { test-entry-gap: 7 }"), QStringLiteral("test.css"));
    auto* widget = new GapWidget(scene.app.mainLayer().get());
    widget->postConstruct();
    CHECK(widget->entryGap == 7.f);
}

TEST_CASE("widget: the order of siblings for style sheets is that in which they were added, without operators")
{
    Scene scene;
    class Plain final : public Trellis::Operator
    {
    };
    Widget& tray = named(scene.root(), "tray");
    tray.addOperator(makeIntrusive<Plain>());
    Widget& a = named(tray, "a");
    Widget& b = named(tray, "b");
    Cascara::StyleEngine::instance().addStyleSheet(
        QStringLiteral("#tray > :first-child { scale: 2 } :nth-child(2) { scale: 3 } #a + :last-child { rotation: 4deg } "
                       ":root > #tray { opacity: 0.5 }"),
        QStringLiteral("test.css"));
    const auto isStyled = [](const Widget& widget, const char* attribute) {
        return widget.attribute(attribute)->hasValue(Facet::kStyleLayer);
    };
    CHECK(a.attribute("scale")->toText() == QStringLiteral("2"));
    CHECK(b.attribute("scale")->toText() == QStringLiteral("3"));
    CHECK(isStyled(b, "rotation"));
    CHECK(tray.attribute("opacity")->toText() == QStringLiteral("0.5"));
    a.raiseToTop();
    CHECK(tray.children().back().get() == &a);
    CHECK(a.attribute("scale")->toText() == QStringLiteral("2"));
    CHECK(isStyled(b, "rotation"));
    const IntrusivePtr<Widget> keep(&a);
    a.removeFromParent();
    CHECK(b.attribute("scale")->toText() == QStringLiteral("2"));
    CHECK_FALSE(isStyled(b, "rotation"));
}

TEST_CASE("widget: children that end with their parent are not restyled on the way")
{
    Scene scene;
    Cascara::StyleEngine::instance().addStyleSheet(QStringLiteral(":last-child { scale: 2 } Widget + Widget { opacity: 0.5 }"),
                                                   QStringLiteral("test.css"));
    Widget& tray = named(scene.root(), "tray");
    for (int i = 0; i < 20; ++i)
        named(tray, "child");
    scene.frame();
    tray.removeFromParent();
    const long before = Cascara::StyleEngine::instance().counters().nodesRestyled;
    scene.frame();
    CHECK(Cascara::StyleEngine::instance().counters().nodesRestyled == before);
}
