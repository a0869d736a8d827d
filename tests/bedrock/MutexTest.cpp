#include <Bedrock/Mutex.hpp>

#include <doctest/doctest.h>

#include <thread>
#include <type_traits>
#include <vector>

namespace
{
Bedrock::Mutex earlyMutex;

/// Runs before main(), as registrants do.
const bool wasUsableEarly = [] {
    const Bedrock::MutexGuard guard(earlyMutex);
    return true;
}();
}

TEST_CASE("mutex: a static one needs no constructor to have run")
{
    CHECK(wasUsableEarly);
    CHECK(std::is_trivially_destructible_v<Bedrock::Mutex>);
}

TEST_CASE("mutex: one thread at a time passes the guard")
{
    Bedrock::Mutex mutex;
    int count = 0;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&] {
            for (int i = 0; i < 1000; ++i) {
                const Bedrock::MutexGuard guard(mutex);
                ++count;
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    CHECK(count == 4000);
}
