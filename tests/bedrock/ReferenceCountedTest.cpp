#include <Bedrock/IntrusivePtr.hpp>
#include <Bedrock/ReferenceCounted.hpp>

#include <doctest/doctest.h>

#include <thread>
#include <vector>

namespace
{
struct CountedThing final : Bedrock::ReferenceCounted
{
};
}

TEST_CASE("reference counted: live objects are counted")
{
    const long before = Bedrock::ReferenceCounted::liveObjects();
    auto first = Bedrock::makeIntrusive<CountedThing>();
    auto second = Bedrock::makeIntrusive<CountedThing>();
    CHECK(Bedrock::ReferenceCounted::liveObjects() == before + 2);
    first.reset();
    second.reset();
    CHECK(Bedrock::ReferenceCounted::liveObjects() == before);
}

TEST_CASE("reference counted: an object that no pointer held belongs to its maker")
{
    const long before = Bedrock::ReferenceCounted::liveObjects();
    {
        const CountedThing thing;
        CHECK(thing.referenceCount() == 0);
        CHECK_FALSE(thing.addReferenceIfOwned());
        CHECK(Bedrock::ReferenceCounted::liveObjects() == before + 1);
    }
    CHECK(Bedrock::ReferenceCounted::liveObjects() == before);
}

TEST_CASE("reference counted: pointers of several threads keep the count")
{
    auto thing = Bedrock::makeIntrusive<CountedThing>();
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([copy = thing] {
            for (int i = 0; i < 1000; ++i) {
                const Bedrock::IntrusivePtr<CountedThing> another = copy;
                CHECK(another->referenceCount() >= 2);
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    threads.clear();
    CHECK(thing->referenceCount() == 1);
}
