#include <Bedrock/IntrusivePtr.hpp>
#include <Bedrock/ReferenceCounted.hpp>

#include <doctest/doctest.h>

#include <map>

using Bedrock::IntrusivePtr;
using Bedrock::makeIntrusive;

namespace
{
struct OwnedThing : Bedrock::ReferenceCounted
{
    explicit OwnedThing(bool* isGone = nullptr) : gone(isGone) {}
    ~OwnedThing() override
    {
        if (gone)
            *gone = true;
    }
    bool* gone;
};

struct Special final : OwnedThing
{
    using OwnedThing::OwnedThing;
    int number = 7;
};

struct Face
{
    virtual ~Face() = default;
};

struct Both final : OwnedThing, Face
{
};
}

TEST_CASE("intrusive pointer: the object goes with its last pointer")
{
    bool isGone = false;
    auto first = makeIntrusive<OwnedThing>(&isGone);
    CHECK(first->referenceCount() == 1);
    {
        const IntrusivePtr<OwnedThing> second = first;
        CHECK(first->referenceCount() == 2);
        CHECK(second == first);
    }
    CHECK(first->referenceCount() == 1);
    CHECK_FALSE(isGone);
    first.reset();
    CHECK(isGone);
    CHECK(first == nullptr);
    CHECK_FALSE(first);
}

TEST_CASE("intrusive pointer: a pointer made again from a plain reference shares the count")
{
    bool isGone = false;
    auto first = makeIntrusive<OwnedThing>(&isGone);
    OwnedThing& plain = *first;
    IntrusivePtr<OwnedThing> again(plain);
    first.reset();
    CHECK_FALSE(isGone);
    CHECK(again->referenceCount() == 1);
    again = nullptr;
    CHECK(isGone);
}

TEST_CASE("intrusive pointer: moving hands the reference over")
{
    auto first = makeIntrusive<OwnedThing>();
    IntrusivePtr<OwnedThing> second = std::move(first);
    CHECK(first.get() == nullptr);
    CHECK(second->referenceCount() == 1);
    second = std::move(second);
    CHECK(second->referenceCount() == 1);
}

TEST_CASE("intrusive pointer: assigning to itself keeps the object")
{
    bool isGone = false;
    auto pointer = makeIntrusive<OwnedThing>(&isGone);
    const IntrusivePtr<OwnedThing>& self = pointer;
    pointer = self;
    CHECK_FALSE(isGone);
    CHECK(pointer->referenceCount() == 1);
}

TEST_CASE("intrusive pointer: a pointer to a derived class converts to one to its base")
{
    const auto special = makeIntrusive<Special>();
    const IntrusivePtr<OwnedThing> thing = special;
    CHECK(thing == special);
    CHECK(thing->referenceCount() == 2);
    CHECK(Bedrock::dynamicPointerCast<Special>(thing)->number == 7);
    CHECK_FALSE(Bedrock::dynamicPointerCast<Both>(thing));
}

TEST_CASE("intrusive pointer: the object may let go of its own last pointer")
{
    struct Holder final : Bedrock::ReferenceCounted
    {
        IntrusivePtr<Holder> self;
        void letGo() { self.reset(); }
    };
    const long before = Bedrock::ReferenceCounted::liveObjects();
    auto* holder = new Holder;
    holder->self = holder;
    holder->letGo();
    CHECK(Bedrock::ReferenceCounted::liveObjects() == before);
}

TEST_CASE("intrusive pointer: pointers made while the object is being destroyed do not destroy it again")
{
    struct Wrapping final : Bedrock::ReferenceCounted
    {
        explicit Wrapping(int& destructions) : count(destructions) {}
        ~Wrapping() override
        {
            ++count;
            const IntrusivePtr<Wrapping> moment(this);
        }
        int& count;
    };
    int destructions = 0;
    makeIntrusive<Wrapping>(destructions).reset();
    CHECK(destructions == 1);
}
