#include <Bedrock/IntrusiveWeakPtr.hpp>

#include <doctest/doctest.h>

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

using Bedrock::IntrusivePtr;
using Bedrock::IntrusiveWeakPtr;
using Bedrock::makeIntrusive;

namespace
{
struct WatchedThing : Bedrock::ReferenceCounted
{
    int number = 3;
};

/// Remembers itself from its constructor, as a widget does that starts something asynchronous there.
struct SelfAware final : Bedrock::ReferenceCounted
{
    IntrusiveWeakPtr<SelfAware> self{this};
    bool wasLockableInConstructor = bool(self.lock());
};
}

TEST_CASE("weak pointer: locks while the object lives and is null after")
{
    auto thing = makeIntrusive<WatchedThing>();
    const IntrusiveWeakPtr<WatchedThing> weak = thing;
    CHECK(weak);
    CHECK(weak.lock() == thing);
    CHECK(thing->referenceCount() == 1);
    thing.reset();
    CHECK_FALSE(weak);
    CHECK(weak.lock() == nullptr);
}

TEST_CASE("weak pointer: one made in a constructor cannot be locked before the object has an owner")
{
    auto* object = new SelfAware;
    CHECK_FALSE(object->wasLockableInConstructor);
    const IntrusiveWeakPtr<SelfAware> weak = object->self;
    CHECK(weak);
    CHECK(weak.lock() == nullptr);
    IntrusivePtr<SelfAware> owner(object);
    CHECK(weak.lock() == owner);
    owner.reset();
    CHECK_FALSE(weak);
}

TEST_CASE("weak pointer: cannot be locked from the object's destructor")
{
    struct Dying final : Bedrock::ReferenceCounted
    {
        explicit Dying(bool& couldLock) : result(couldLock) {}
        ~Dying() override { result = bool(IntrusiveWeakPtr<Dying>(this).lock()); }
        bool& result;
    };
    bool couldLock = true;
    makeIntrusive<Dying>(couldLock).reset();
    CHECK_FALSE(couldLock);
}

TEST_CASE("weak pointer: knows of the end of an object that was never owned")
{
    IntrusiveWeakPtr<WatchedThing> weak;
    CHECK_FALSE(weak);
    {
        struct OnStack final : WatchedThing
        {
        } object;
        weak = IntrusiveWeakPtr<WatchedThing>(&object);
        CHECK(weak);
        CHECK(weak.lock() == nullptr);
    }
    CHECK_FALSE(weak);
}

TEST_CASE("weak pointer: copies, moves and resets")
{
    const auto thing = makeIntrusive<WatchedThing>();
    IntrusiveWeakPtr<WatchedThing> first(thing.get());
    IntrusiveWeakPtr<WatchedThing> second = first;
    IntrusiveWeakPtr<WatchedThing> third = std::move(first);
    CHECK_FALSE(first);
    CHECK(second.lock() == thing);
    CHECK(third.lock() == thing);
    second.reset();
    CHECK_FALSE(second);
    third = third;
    CHECK(third.lock() == thing);
}

TEST_CASE("weak pointer: copied and destroyed on other threads while the object goes away")
{
    for (int round = 0; round < 200; ++round) {
        auto thing = makeIntrusive<WatchedThing>();
        const IntrusiveWeakPtr<WatchedThing> weak = thing;
        std::atomic<bool> go{false};
        std::vector<std::thread> threads;
        for (int i = 0; i < 3; ++i) {
            threads.emplace_back([copy = weak, &go] {
                while (!go)
                    std::this_thread::yield();
                for (int n = 0; n < 20; ++n) {
                    const IntrusiveWeakPtr<WatchedThing> another = copy;
                    if (const auto locked = another.lock())
                        CHECK(locked->number == 3);
                }
            });
        }
        go = true;
        thing.reset();
        for (std::thread& thread : threads)
            thread.join();
        CHECK_FALSE(weak);
        CHECK(weak.lock() == nullptr);
    }
}

TEST_CASE("weak pointer: the first ones made on several threads at once share the object")
{
    for (int round = 0; round < 200; ++round) {
        auto thing = makeIntrusive<WatchedThing>();
        std::atomic<bool> go{false};
        std::vector<IntrusiveWeakPtr<WatchedThing>> made(3);
        std::vector<std::thread> threads;
        for (std::size_t i = 0; i < made.size(); ++i) {
            threads.emplace_back([&, i] {
                while (!go)
                    std::this_thread::yield();
                made[i] = IntrusiveWeakPtr<WatchedThing>(thing.get());
            });
        }
        go = true;
        for (std::thread& thread : threads)
            thread.join();
        for (const auto& weak : made)
            CHECK(weak.lock() == thing);
        thing.reset();
        for (const auto& weak : made)
            CHECK_FALSE(weak);
    }
}
