#include <Bedrock/FlagGuard.hpp>

#include <doctest/doctest.h>

#include <stdexcept>
#include <type_traits>

using Bedrock::FlagGuard;

namespace
{
FlagGuard raise(bool& flag)
{
    return FlagGuard(flag);
}
}

TEST_CASE("flag guard: the flag is up exactly while the guard lives")
{
    bool flag = false;
    {
        const FlagGuard guard(flag);
        CHECK(flag);
    }
    CHECK_FALSE(flag);
}

TEST_CASE("flag guard: an exception on the way out lowers the flag, too")
{
    bool flag = false;
    bool wasUp = false;
    try {
        const FlagGuard guard(flag);
        wasUp = flag;
        throw std::runtime_error("out");
    } catch (const std::runtime_error&) {
        CHECK_FALSE(flag);
    }
    CHECK(wasUp);
}

TEST_CASE("flag guard: a function may return it, and it cannot be copied or assigned")
{
    static_assert(!std::is_copy_constructible_v<FlagGuard> && !std::is_copy_assignable_v<FlagGuard>);
    bool flag = false;
    {
        const FlagGuard guard = raise(flag);
        CHECK(flag);
    }
    CHECK_FALSE(flag);
}
