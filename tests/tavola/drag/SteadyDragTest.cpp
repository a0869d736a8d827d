#include <doctest/doctest.h>

#include "../../facet/AllocationCounter.hpp"
#include "TestHost.hpp"

#include <Tavola/ContentWidget.hpp>
#include <Tavola/DropListener.hpp>

using Bedrock::makeIntrusive;
using TestSupport::TestHost;

namespace
{
class CountingBin final : public Trellis::Widget, public Tavola::DropListener
{
public:
    explicit CountingBin(Trellis::Widget* parent) : Trellis::Widget(parent)
    {
        setLocation({600.f, 300.f});
        setSize({300.f, 300.f});
    }
    bool dropEvent(const Tavola::DropEvent& event) override
    {
        ++hovers;
        return event.type != Tavola::DropEvent::Leave;
    }
    int hovers = 0;
};

/// Calls of operator new in 100 frames in which the finger moves to and fro between two points.
long allocationsOfFrames(TestHost& host, Vecta::Vector2f a, Vecta::Vector2f b)
{
    const long before = FacetTest::allocations();
    for (int i = 0; i < 100; ++i) {
        host.input.fingerMove(1, i % 2 ? a : b);
        host.frame();
    }
    return FacetTest::allocations() - before;
}
}

TEST_CASE("drag and drop: a drag that goes on allocates nothing, neither over a listener nor beside it")
{
    TestHost host;
    const auto bin = makeIntrusive<CountingBin>(&host.mainWidget());
    const auto card = makeIntrusive<Tavola::ContentWidget>(&host.mainWidget());
    card->setLocation({100.f, 100.f});
    card->setSize({100.f, 100.f});
    host.drag(1, {150.f, 150.f}, {700.f, 400.f});
    static_cast<void>(allocationsOfFrames(host, {710.f, 410.f}, {720.f, 420.f}));
    bin->hovers = 0;
    CHECK(allocationsOfFrames(host, {710.f, 410.f}, {720.f, 420.f}) == 0);
    CHECK(bin->hovers == 100);
    host.input.fingerMove(1, {150.f, 150.f});
    host.frame();
    static_cast<void>(allocationsOfFrames(host, {150.f, 150.f}, {160.f, 160.f}));
    CHECK(allocationsOfFrames(host, {150.f, 150.f}, {160.f, 160.f}) == 0);
}
