#include <Bedrock/IntrusivePtr.hpp>
#include <Bedrock/ReferenceCounted.hpp>
#include <Bedrock/WeakAnchor.hpp>

#include <doctest/doctest.h>

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

using Bedrock::makeIntrusive;
using Bedrock::ReferenceCounted;
using Bedrock::WeakAnchor;

namespace
{
struct AnchoredThing final : ReferenceCounted
{
    int number = 3;
};

/// A reference that is given back at the end, as a weak pointer does.
struct Held
{
    explicit Held(const ReferenceCounted& object) : anchor(object.weakAnchor()) {}
    ~Held() { anchor->releaseReference(); }
    Held(const Held&) = delete;
    Held& operator=(const Held&) = delete;
    WeakAnchor* const anchor;
};
}

TEST_CASE("weak anchor: an object has one, the same for every caller")
{
    const auto thing = makeIntrusive<AnchoredThing>();
    const auto other = makeIntrusive<AnchoredThing>();
    const Held first(*thing);
    const Held second(*thing);
    const Held ofOther(*other);
    CHECK(first.anchor == second.anchor);
    CHECK(first.anchor != ofOther.anchor);
    CHECK(thing->referenceCount() == 1);
}

TEST_CASE("weak anchor: locking gives the object with one reference more, for the caller to give back")
{
    auto thing = makeIntrusive<AnchoredThing>();
    const Held held(*thing);
    const ReferenceCounted* locked = held.anchor->lock();
    CHECK(locked == thing.get());
    CHECK(thing->referenceCount() == 2);
    thing.reset();
    CHECK(held.anchor->isAlive());
    CHECK(static_cast<const AnchoredThing*>(locked)->number == 3);
    locked->releaseReference();
    CHECK_FALSE(held.anchor->isAlive());
    CHECK(held.anchor->lock() == nullptr);
}

TEST_CASE("weak anchor: an object without an owner is alive and cannot be locked")
{
    auto thing = std::make_unique<AnchoredThing>();
    const Held held(*thing);
    CHECK(held.anchor->isAlive());
    CHECK(held.anchor->lock() == nullptr);
    CHECK(thing->referenceCount() == 0);
    thing.reset();
    CHECK_FALSE(held.anchor->isAlive());
}

TEST_CASE("weak anchor: it is detached before anything of its object is torn down")
{
    struct Dying final : ReferenceCounted
    {
        Dying(bool& alive, bool& lockable) : wasAlive(alive), wasLockable(lockable) {}
        ~Dying() override
        {
            wasAlive = held->anchor->isAlive();
            wasLockable = held->anchor->lock() != nullptr;
        }
        bool& wasAlive;
        bool& wasLockable;
        std::unique_ptr<Held> held = std::make_unique<Held>(*this);
    };
    bool wasAlive = true;
    bool wasLockable = true;
    makeIntrusive<Dying>(wasAlive, wasLockable).reset();
    CHECK_FALSE(wasAlive);
    CHECK_FALSE(wasLockable);
}

TEST_CASE("weak anchor: it outlives its object as long as it is referred to")
{
    WeakAnchor* anchor = nullptr;
    {
        const auto thing = makeIntrusive<AnchoredThing>();
        anchor = thing->weakAnchor();
        anchor->addReference();
    }
    anchor->releaseReference();
    CHECK_FALSE(anchor->isAlive());
    CHECK(anchor->lock() == nullptr);
    anchor->releaseReference(); // the last one
}

TEST_CASE("weak anchor: what another thread locks while the object is let go stays whole until it is given back")
{
    const long before = ReferenceCounted::liveObjects();
    for (int round = 0; round < 200; ++round) {
        auto thing = makeIntrusive<AnchoredThing>();
        const Held held(*thing);
        std::atomic<bool> go{false};
        std::atomic<int> broken{0};
        std::vector<std::thread> threads;
        for (int i = 0; i < 3; ++i)
            threads.emplace_back([&] {
                while (!go)
                    std::this_thread::yield();
                for (int n = 0; n < 20; ++n) {
                    const ReferenceCounted* locked = held.anchor->lock();
                    if (!locked)
                        return;
                    if (static_cast<const AnchoredThing*>(locked)->number != 3)
                        ++broken;
                    locked->releaseReference();
                }
            });
        go = true;
        thing.reset();
        for (std::thread& thread : threads)
            thread.join();
        CHECK(broken == 0);
        CHECK_FALSE(held.anchor->isAlive());
    }
    CHECK(ReferenceCounted::liveObjects() == before);
}
