#include <VisitScript.hpp>

#include <doctest/doctest.h>

#include <string>

using Visit::Subject;
using Visit::Verb;

TEST_CASE("visit script: a visit is read action by action")
{
    const auto parsed = Visit::parseScript("# a visit\n"
                                           "size 800 600\n"
                                           "\n"
                                           "at 0.0   card 1001 down 400 300 angle 90  # Ann\r\n"
                                           "at 1\tfinger 1 down 10.5 20\n"
                                           "at 1.1 finger 1 move 30 40 over 0.8\n"
                                           "at 1.5 card 1001 move 410 300\n"
                                           "at 2.0 finger 1 up\n"
                                           "at 9.0 card 1001 up");
    REQUIRE(parsed.errors.empty());
    const auto& script = parsed.script;
    CHECK(script.width == 800);
    CHECK(script.height == 600);
    REQUIRE(script.actions.size() == 6);
    CHECK(script.actions[0].subject == Subject::Card);
    CHECK(script.actions[0].number == 1001);
    CHECK(script.actions[0].angleDegrees.value_or(0) == 90);
    CHECK(script.actions[0].line == 4);
    CHECK(script.actions[1].x == 10.5f);
    CHECK(script.actions[2].verb == Verb::Move);
    CHECK(script.actions[2].overSeconds == 0.8);
    CHECK_FALSE(script.actions[3].angleDegrees.has_value());
    CHECK(script.actions[5].verb == Verb::Up);
    CHECK(script.durationSeconds() == 9.0);
}

TEST_CASE("visit script: a tap is a down and an up 0.1 s later, in order with the actions between")
{
    const auto parsed = Visit::parseScript("at 1 finger 1 tap 10 20\nat 1.05 finger 2 down 5 5\n");
    REQUIRE(parsed.errors.empty());
    const auto& actions = parsed.script.actions;
    REQUIRE(actions.size() == 3);
    CHECK(actions[0].verb == Verb::Down);
    CHECK(actions[1].number == 2);
    CHECK(actions[2].verb == Verb::Up);
    CHECK(actions[2].number == 1);
    CHECK(actions[2].atSeconds == doctest::Approx(1.1));
}

TEST_CASE("visit script: an error names its line and column, what is wrong and the remedy")
{
    struct Row
    {
        std::string line;
        int column;
        std::string text;
    };
    const Row rows[] = {
        {"wait 3", 1, "unknown word \"wait\"; begin the line with \"size\" or \"at\""},
        {"at", 3, "the line ends too early; add a time in seconds"},
        {"at soon finger 1 up", 4, "\"soon\" is no number; give a time in seconds"},
        {"at nan finger 1 up", 4, "\"nan\" is no number; give a time in seconds"},
        {"at -1 finger 1 up", 4, "\"-1\" is out of range; give a time in seconds between 0 and 86400"},
        {"at 1 hand 1 up", 6, "unknown word \"hand\"; write \"card\" or \"finger\""},
        {"at 1 finger 0 down 1 1", 13, "\"0\" is no such number; give the finger's number, 1 or more"},
        {"at 1 card 10x down 1 1", 11, "\"10x\" is no such number; give the card's code, 0 or more"},
        {"at 1 finger 1 press 1 1", 15, "unknown word \"press\"; write \"down\", \"move\", \"up\" or \"tap\""},
        {"at 1 card 1 tap 1 1", 13, "unknown word \"tap\"; write \"down\", \"move\" or \"up\""},
        {"at 1 finger 1 down 300", 23, "the line ends too early; add y in pixels"},
        {"at 1 finger 1 down 2000 10", 20, "\"2000\" is out of range; give x in pixels between 0 and 1920"},
        {"at 1 finger 1 down 10 10 angle 4", 26, "nothing is expected at \"angle\"; remove it"},
        {"at 1 finger 1 up", 15, "finger 1 is not down; put it down first"},
        {"at 1 card 5 move 3 3", 13, "card 5 is not down; put it down first"},
        {"size 0 10", 6, "\"0\" is out of range; give the width in pixels between 1 and 100000"},
    };
    for (const Row& row : rows) {
        CAPTURE(row.line);
        const auto parsed = Visit::parseScript("# first\n" + row.line + "\n");
        REQUIRE(parsed.errors.size() == 1);
        CHECK(parsed.errors[0].line == 2);
        CHECK(parsed.errors[0].column == row.column);
        CHECK(parsed.errors[0].text == row.text);
    }
}

TEST_CASE("visit script: all errors are listed, and what depends on the lines before is checked too")
{
    const auto parsed = Visit::parseScript("at 1 card 7 down 10 10\n"
                                           "size 100 100\n"
                                           "at 2 card 7 down 20 20\n"
                                           "at 1.5 finger 1 down 1 1\n"
                                           "at 3 finger 1 tap 1 1\n"
                                           "at 3.05 finger 1 down 1 1\n"
                                           "at 4 finger 2 down 1 1\n"
                                           "at 4 finger 2 up\n");
    REQUIRE(parsed.errors.size() == 5);
    CHECK(parsed.errors[0].line == 2);
    CHECK(parsed.errors[0].text == "the size is given too late; give it once, before the first \"at\"");
    CHECK(parsed.errors[1].text == "card 7 is down already; lift it first, or use another number");
    CHECK(parsed.errors[2].line == 4);
    CHECK(parsed.errors[2].column == 4);
    CHECK(parsed.errors[2].text == "the time goes backwards; put the lines in order of time");
    CHECK(parsed.errors[3].text == "finger 1 still taps; begin at least 0.1 s later");
    CHECK(parsed.errors[4].text == "finger 2 was put down or lifted at this very time; leave some time between");
}

TEST_CASE("visit script: an empty text is a visit in which nothing happens")
{
    const auto parsed = Visit::parseScript("");
    CHECK(parsed.errors.empty());
    CHECK(parsed.script.actions.empty());
    CHECK(parsed.script.durationSeconds() == 0.0);
}
