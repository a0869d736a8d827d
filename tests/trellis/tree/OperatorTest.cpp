#include "Scene.hpp"

#include <Trellis/FrameInfo.hpp>
#include <Trellis/Operator.hpp>

#include <functional>

using Bedrock::IntrusivePtr;
using Bedrock::IntrusiveWeakPtr;
using Bedrock::makeIntrusive;
using Trellis::FrameInfo;
using Trellis::Operator;
using Trellis::Widget;
using namespace TrellisTest;

namespace
{
class Probe final : public Operator
{
public:
    explicit Probe(std::function<void(Probe&, Widget&)> onUpdate = {}) : m_onUpdate(std::move(onUpdate)) {}
    void added(Widget& widget) override
    {
        host = &widget;
        ++timesAdded;
    }
    void removed(Widget&) override
    {
        ++timesRemoved;
        if (counter)
            ++*counter;
    }
    void update(Widget& widget, const FrameInfo& frame) override
    {
        ++updates;
        seconds += frame.dt();
        if (m_onUpdate)
            m_onUpdate(*this, widget);
    }
    Widget* host = nullptr;
    int timesAdded = 0;
    int timesRemoved = 0;
    int updates = 0;
    float seconds = 0.f;
    int* counter = nullptr;

private:
    std::function<void(Probe&, Widget&)> m_onUpdate;
};
}

TEST_CASE("operators: one is called when it is attached, in each frame with its time, and when it is detached")
{
    Scene scene;
    auto& widget = scene.box(0, 0, 10, 10);
    const auto op = makeIntrusive<Probe>();
    widget.addOperator(op);
    CHECK(op->timesAdded == 1);
    CHECK(op->host == &widget);
    scene.frames(4, 0.25);
    CHECK(op->updates == 4);
    CHECK(op->seconds == near(1));
    widget.removeOperator(*op);
    CHECK(op->timesRemoved == 1);
    scene.frames(2);
    CHECK(op->updates == 4);
    widget.removeOperator(*op);
    CHECK(op->timesRemoved == 1);
}

TEST_CASE("operators: several of one class work on one widget, in the order they were added")
{
    Scene scene;
    auto& widget = scene.box(0, 0, 10, 10);
    std::string order;
    for (const char letter : {'a', 'b', 'c'})
        widget.addOperator(makeIntrusive<Probe>([&order, letter](Probe&, Widget&) { order += letter; }));
    scene.frames(2);
    CHECK(order == "abcabc");
    CHECK(widget.operators().size() == 3);
}

TEST_CASE("operators: a done one is detached after the frame's update")
{
    Scene scene;
    auto& widget = scene.box(0, 0, 10, 10);
    int stillThere = 0;
    const auto op = makeIntrusive<Probe>([&](Probe& self, Widget& host) {
        self.setDone();
        stillThere = int(host.operators().size());
    });
    widget.addOperator(op);
    scene.frames();
    CHECK(stillThere == 1);
    CHECK(op->updates == 1);
    CHECK(op->timesRemoved == 1);
    CHECK(widget.operators().empty());
    CHECK(op->referenceCount() == 1);
}

TEST_CASE("operators: one that was done before its frame is not updated again")
{
    Scene scene;
    auto& widget = scene.box(0, 0, 10, 10);
    const auto op = makeIntrusive<Probe>();
    widget.addOperator(op);
    op->setDone();
    scene.frames();
    CHECK(op->updates == 0);
    CHECK(op->timesRemoved == 1);
}

TEST_CASE("operators: a widget outside the tree does not work, and goes on when it comes back")
{
    Scene scene;
    const auto widget = makeIntrusive<Widget>();
    const auto op = makeIntrusive<Probe>();
    widget->addOperator(op);
    scene.frames(2);
    CHECK(op->updates == 0);
    scene.app.mainLayer()->addChild(widget);
    scene.frames(2);
    CHECK(op->updates == 2);
    widget->removeFromParent();
    scene.frames(2);
    CHECK(op->updates == 2);
    CHECK(op->timesRemoved == 0);
}

TEST_CASE("operators: one may remove itself, another, all, or add one while it is updated")
{
    Scene scene;
    auto& widget = scene.box(0, 0, 10, 10);
    const auto first = makeIntrusive<Probe>();
    const auto last = makeIntrusive<Probe>();
    const auto added = makeIntrusive<Probe>();
    bool acted = false;
    widget.addOperator(first);
    widget.addOperator(makeIntrusive<Probe>([&](Probe& self, Widget& host) {
        if (std::exchange(acted, true))
            return;
        host.removeOperator(*first);
        host.removeOperator(self);
        host.addOperator(added);
    }));
    widget.addOperator(last);
    scene.frames();
    CHECK(first->updates == 1);
    CHECK(last->updates == 1);
    CHECK(added->updates == 0); // takes part from the next frame on
    scene.frames();
    CHECK(first->updates == 1);
    CHECK(last->updates == 2);
    CHECK(added->updates == 1);
    CHECK(widget.operators().size() == 2);
}

TEST_CASE("operators: one may delete its widget, a sibling or the parent while it is updated")
{
    for (const int victim : {0, 1, 2}) {
        CAPTURE(victim);
        Scene scene;
        auto& parent = scene.box(0, 0, 100, 100);
        auto* own = new Widget(&parent);
        auto* sibling = new Widget(&parent);
        Widget* victims[] = {own, sibling, &parent};
        const IntrusiveWeakPtr<Widget> watched(victims[victim]);
        const auto bystander = makeIntrusive<Probe>();
        own->addOperator(makeIntrusive<Probe>([&](Probe& self, Widget&) {
            self.setDone();
            victims[victim]->removeFromParent();
        }));
        sibling->addOperator(bystander);
        scene.frames();
        CHECK(bystander->updates == (victim == 0 ? 1 : 0));
        CHECK_FALSE(watched);
        scene.frames(2);
    }
}

TEST_CASE("operators: those of a widget that dies are detached")
{
    int told = 0;
    {
        const auto widget = makeIntrusive<Widget>();
        const auto op = makeIntrusive<Probe>();
        op->counter = &told;
        widget->addOperator(op);
        widget->addOperator(makeIntrusive<Probe>());
    }
    CHECK(told == 1);
}

TEST_CASE("operators: style sheets reach one as a child of its widget")
{
    Scene scene;
    auto& widget = scene.box(0, 0, 10, 10);
    widget.addCSSClass("tray");
    class Styled final : public Operator
    {
    public:
        Styled() { setCSSType("tracker"); }
        Facet::AttributeT<float> distance{this, "tracker-distance", 1.f};
    };
    const auto op = makeIntrusive<Styled>();
    Cascara::StyleEngine::instance().addStyleSheet(QStringLiteral(".tray > tracker { tracker-distance: 7; }"),
                                                   QStringLiteral("t.css"));
    CHECK(op->distance.value() == 1.f);
    widget.addOperator(op);
    CHECK(op->distance.value() == 7.f);
    widget.removeOperator(*op);
    CHECK(op->distance.value() == 1.f);
}
