#include <VisitPace.hpp>

#include <doctest/doctest.h>

#include <sstream>

using Visit::Pace;

TEST_CASE("visit pace: in steps each time that is asked for is answered once the script has been played up to it")
{
    std::istringstream asked("1\n2.5\n10\n");
    std::ostringstream answers;
    Pace pace(Pace::Mode::Steps, asked, answers);
    pace.waitFor(0.0, 0);
    CHECK(answers.str().empty());
    pace.waitFor(1.0, 3);
    CHECK(answers.str().empty()); // 1 s is allowed, and not yet played
    pace.waitFor(2.0, 5);
    CHECK(answers.str() == "5\n");
    pace.waitFor(3.0, 8);
    CHECK(answers.str() == "5\n8\n");
    pace.finish(9);
    CHECK(answers.str() == "5\n8\n9\n");
}

TEST_CASE("visit pace: what is asked for after the end of the script is answered, too")
{
    std::istringstream asked("1\n2\n3\n");
    std::ostringstream answers;
    Pace pace(Pace::Mode::Steps, asked, answers);
    pace.waitFor(0.5, 0);
    pace.finish(4);
    CHECK(answers.str() == "4\n4\n4\n");
}

TEST_CASE("visit pace: when the asking ends early the rest may be played at once")
{
    std::istringstream asked("1\n");
    std::ostringstream answers;
    Pace pace(Pace::Mode::Steps, asked, answers);
    pace.waitFor(1.0, 0);
    pace.waitFor(5.0, 2);
    pace.waitFor(1e9, 3);
    pace.finish(4);
    CHECK(answers.str() == "2\n");
}

TEST_CASE("visit pace: by the clock nothing is read and nothing is answered")
{
    std::istringstream asked("1\n");
    std::ostringstream answers;
    Pace pace(Pace::Mode::Clock, asked, answers);
    pace.waitFor(0.0, 1);
    pace.waitFor(-5.0, 2);
    pace.finish(3);
    CHECK(answers.str().empty());
    CHECK(asked.tellg() == std::streampos(0));
}
