#include "ConnectPause.hpp"

#include <doctest/doctest.h>

using namespace std::chrono_literals;

TEST_CASE("connect pause: is twice as long after each failure up to two seconds, and short again after a connection")
{
    Storage::ConnectPause pause;
    for (int i = 0; i < 2; ++i) {
        CHECK(pause.afterFailure() == 250ms);
        CHECK(pause.afterFailure() == 500ms);
        CHECK(pause.afterFailure() == 1000ms);
        for (int later = 0; later < 20; ++later)
            CHECK(pause.afterFailure() == 2000ms);
        pause.reset();
    }
}
