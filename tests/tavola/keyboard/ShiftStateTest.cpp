#include "keyboard/ShiftState.hpp"

#include <doctest/doctest.h>

#include <string>

using Tavola::ShiftState;

TEST_CASE("shift: holds for one letter, pressed twice at once it locks, held down it lasts until it is released")
{
    struct Row
    {
        const char* steps; ///< p press, q press 0.3 s later, l letter, h letter while the key is held, r release
        ShiftState::Mode mode;
    };
    constexpr auto kOff = ShiftState::Mode::Off;
    constexpr auto kOnce = ShiftState::Mode::Once;
    constexpr auto kLocked = ShiftState::Mode::Locked;
    const Row rows[] = {
        {"", kOff},       {"p", kOnce},   {"pr", kOnce},   {"prl", kOff},     {"pp", kOff},  {"pq", kLocked},
        {"pql", kLocked}, {"pqp", kOff},  {"pqq", kOff},   {"plq", kOnce},    {"ph", kOnce}, {"phh", kOnce},
        {"phr", kOff},    {"phrl", kOff}, {"phrp", kOnce}, {"pqhr", kLocked}, {"phq", kOff},
    };
    for (const Row& row : rows) {
        CAPTURE(row.steps);
        ShiftState shift;
        double time = 0.0;
        for (const char step : std::string(row.steps)) {
            time += step == 'q' ? 0.3 : 1.0;
            if (step == 'p' || step == 'q')
                shift.press(time);
            else if (step == 'r')
                static_cast<void>(shift.release());
            else
                shift.letterTyped(step == 'h');
        }
        CHECK(shift.mode() == row.mode);
        CHECK(shift.isOn() == (row.mode != kOff));
        shift.reset();
        CHECK_FALSE(shift.isOn());
    }
}

TEST_CASE("shift: a release returns whether it has changed anything")
{
    ShiftState shift;
    shift.press(1.0);
    CHECK_FALSE(shift.release());
    shift.letterTyped(true);
    CHECK(shift.release());
    CHECK_FALSE(shift.release());
}
