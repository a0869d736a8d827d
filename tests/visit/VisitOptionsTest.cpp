#include <VisitOptions.hpp>

#include <doctest/doctest.h>

#include <initializer_list>
#include <string>
#include <vector>

using Visit::Options;

namespace
{
constexpr double kNow = 1.7e9;

std::optional<Options::Exit> parse(std::initializer_list<const char*> given, Options& options)
{
    std::vector<const char*> arguments{"tavola-visit"};
    arguments.insert(arguments.end(), given);
    return Options::parse(int(arguments.size()), arguments.data(), kNow, options);
}

Options parsed(std::initializer_list<const char*> given)
{
    Options options;
    const auto exit = parse(given, options);
    REQUIRE_MESSAGE(!exit, exit->text);
    return options;
}
}

TEST_CASE("visit options: a file alone is played by UDP to this machine's table, from now on")
{
    const Options options = parsed({"a.txt"});
    CHECK(options.file == "a.txt");
    CHECK_FALSE(options.target.isStream);
    CHECK(options.target.host == "127.0.0.1");
    CHECK(options.target.port == "3333");
    CHECK(options.rateHz == 60.0);
    CHECK(options.version == Visit::TuioVersion::One);
    CHECK_FALSE(options.lift);
    CHECK_FALSE(options.step);
    CHECK(options.source.empty());
    CHECK(options.beganSeconds == kNow);
}

TEST_CASE("visit options: every option is read, in any order")
{
    const Options options = parsed({"--lift", "--to", "tcp:table:4000", "--rate=2.5", "a.txt", "--tuio-version", "2.0", "--step",
                                    "--source", "left", "--began", "12.5"});
    CHECK(options.file == "a.txt");
    CHECK(options.target.isStream);
    CHECK(options.target.host == "table");
    CHECK(options.target.port == "4000");
    CHECK(options.rateHz == 2.5);
    CHECK(options.version == Visit::TuioVersion::Two);
    CHECK(options.lift);
    CHECK(options.step);
    CHECK(options.source == "left");
    CHECK(options.beganSeconds == 12.5);
}

TEST_CASE("visit options: an IPv6 address stands in brackets")
{
    const Options options = parsed({"a", "--to", "[::1]:3333"});
    CHECK(options.target.host == "::1");
    CHECK(options.target.port == "3333");
}

TEST_CASE("visit options: wrong arguments are named with their remedy")
{
    const std::string target = "; give HOST:PORT such as 127.0.0.1:3333, or tcp:HOST:PORT";
    const std::string rate = "; give a number from 1 to 1000";
    const std::string began = "; give seconds above 0 and up to 4000000000";
    const struct
    {
        std::initializer_list<const char*> arguments;
        std::string text;
    } rows[] = {
        {{}, "No script was given; see --help"},
        {{"--fast"}, "Unknown option --fast; see --help"},
        {{"a", "-f"}, "Unknown option -f; see --help"},
        {{"a", "--to"}, "Missing a value after --to; see --help"},
        {{"a", "--to", "here"}, "Failed to read --to \"here\"" + target},
        {{"a", "--to", "h:70000"}, "Failed to read --to \"h:70000\"" + target},
        {{"a", "--to", "h:0"}, "Failed to read --to \"h:0\"" + target},
        {{"a", "--to", ":3333"}, "Failed to read --to \":3333\"" + target},
        {{"a", "--to", "tcp:3333"}, "Failed to read --to \"tcp:3333\"" + target},
        {{"a", "--rate", "0"}, "Failed to read --rate \"0\"" + rate},
        {{"a", "--rate", "0.5"}, "Failed to read --rate \"0.5\"" + rate},
        {{"a", "--rate", "1001"}, "Failed to read --rate \"1001\"" + rate},
        {{"a", "--rate", "nan"}, "Failed to read --rate \"nan\"" + rate},
        {{"a", "--rate", "60Hz"}, "Failed to read --rate \"60Hz\"" + rate},
        {{"a", "--tuio-version", "3"}, "Failed to read --tuio-version \"3\"; give 1.1 or 2.0"},
        {{"a", "--began", "0"}, "Failed to read --began \"0\"" + began},
        {{"a", "--began", "5000000000"}, "Failed to read --began \"5000000000\"" + began},
        {{"a", "b"}, "More than one file was given (a, b); play them one by one"},
    };
    for (const auto& row : rows) {
        CAPTURE(row.text);
        Options options;
        const auto exit = parse(row.arguments, options);
        REQUIRE(exit);
        CHECK(exit->code == 2);
        CHECK(exit->text == row.text);
    }
}

TEST_CASE("visit options: the help names every option and the words of a script")
{
    Options options;
    const auto exit = parse({"a", "--help"}, options);
    REQUIRE(exit);
    CHECK(exit->code == 0);
    CHECK(exit->text.find("Usage: tavola-visit FILE [OPTION ...]\n") != std::string::npos);
    for (const char* word : {"--to [tcp:]HOST:PORT", "--rate HZ", "--tuio-version V", "--lift", "--step", "--source NAME",
                             "--began SECONDS", "-h,--help", "size 1920 1080", "Exit status:"})
        CHECK_MESSAGE(exit->text.find(word) != std::string::npos, word);
}
