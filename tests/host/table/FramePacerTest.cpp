#include "table/FramePacer.hpp"

#include <doctest/doctest.h>

#include <vector>

using namespace Host;

namespace
{
using Steps = std::vector<double>;

/// A recording of `steps`; what is left of it.
struct Recording
{
    Steps steps;
    std::size_t next = 0;

    FramePacer pacer()
    {
        return {FramePacer::Mode::Replay,
                [this](double) { return next < steps.size() ? std::optional(steps[next++]) : std::nullopt; }};
    }
};
}

TEST_CASE("frame pacer: live, each tick is one frame of the time that has passed")
{
    Steps taken;
    FramePacer pacer(FramePacer::Mode::Live, [&taken](double dt) {
        taken.push_back(dt);
        return dt;
    });
    for (const double seconds : {0.016, 0.0, 0.1, 0.25})
        pacer.tick(seconds);
    CHECK(taken == Steps{0.016, 0.0, 0.1, 0.25});
    CHECK_FALSE(pacer.isOver());
}

TEST_CASE("frame pacer: a program that was stopped does not jump ahead, and a clock that is set back does not go back")
{
    Steps taken;
    FramePacer pacer(FramePacer::Mode::Live, [&taken](double dt) {
        taken.push_back(dt);
        return dt;
    });
    pacer.tick(3600.0);
    pacer.tick(-5.0);
    CHECK(taken == Steps{FramePacer::kLongestStepSeconds, 0.0});
}

TEST_CASE("frame pacer: a replay runs the frames that are due and lets none run early")
{
    Recording recording{Steps(8, 0.0625)};
    FramePacer pacer = recording.pacer();
    pacer.tick(0.0); // the first is due at once
    CHECK(recording.next == 1);
    pacer.tick(0.03125);
    CHECK(recording.next == 1);
    pacer.tick(0.03125);
    CHECK(recording.next == 2);
    pacer.tick(0.1875); // three at once
    CHECK(recording.next == 5);
    CHECK_FALSE(pacer.isOver());
}

TEST_CASE("frame pacer: a replay keeps its own time, however the ticks come")
{
    for (const double tick : {0.001, 0.0078125, 0.016, 0.1, 0.25}) {
        CAPTURE(tick);
        Recording recording;
        for (int i = 0; i < 200; ++i)
            recording.steps.push_back(i % 3 ? 0.0125 : 0.035);
        FramePacer pacer = recording.pacer();
        double seconds = 0.0;
        double begun = 0.0; // when the frame that runs last began
        std::size_t counted = 0;
        while (seconds < 3.0) {
            pacer.tick(tick);
            seconds += tick;
            for (; counted < recording.next; ++counted)
                begun += counted > 0 ? recording.steps[counted - 1] : 0.0;
            REQUIRE(begun <= seconds + 1e-9);
            REQUIRE(begun + recording.steps[counted - 1] >= seconds - 1e-9);
        }
    }
}

TEST_CASE("frame pacer: a replay that was stopped goes on where it was")
{
    Recording recording{Steps(100, 0.125)};
    FramePacer pacer = recording.pacer();
    pacer.tick(3600.0);
    CHECK(recording.next == 3); // at 0, 0.125 and 0.25
}

TEST_CASE("frame pacer: at the end of its recording a replay stands still")
{
    int asked = 0;
    FramePacer pacer(FramePacer::Mode::Replay, [&asked](double) { return ++asked > 2 ? std::nullopt : std::optional(0.125); });
    pacer.tick(0.0);
    pacer.tick(0.125);
    CHECK_FALSE(pacer.isOver());
    pacer.tick(0.125);
    CHECK(pacer.isOver());
    CHECK(asked == 3);
    pacer.tick(0.25);
    CHECK(asked == 3);
}

TEST_CASE("frame pacer: an empty recording is over with the first tick")
{
    Recording recording;
    FramePacer pacer = recording.pacer();
    pacer.tick(0.016);
    CHECK(pacer.isOver());
}

TEST_CASE("frame pacer: a frame without a step waits for the next tick instead of turning round")
{
    int asked = 0;
    FramePacer pacer(FramePacer::Mode::Replay, [&asked](double) {
        ++asked;
        return std::optional(0.0);
    });
    for (int i = 1; i <= 3; ++i) {
        pacer.tick(0.016);
        CHECK(asked == i);
    }
    CHECK_FALSE(pacer.isOver());
}
