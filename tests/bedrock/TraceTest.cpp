#include <Bedrock/PersonalTexts.hpp>
#include <Bedrock/Trace.hpp>

#include <LogCapture.hpp>

#include <QByteArray>
#include <QTemporaryFile>

#include <doctest/doctest.h>

#include <unistd.h>

#include <cstdio>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace Trace = Bedrock::Trace;

namespace
{
/// Puts the sink that was there back at the end of the test.
class SinkForTest
{
public:
    explicit SinkForTest(Trace::Sink sink) : m_before(Trace::setSink(std::move(sink))) {}
    ~SinkForTest() { Trace::setSink(std::move(m_before)); }
    SinkForTest(const SinkForTest&) = delete;
    SinkForTest& operator=(const SinkForTest&) = delete;

private:
    Trace::Sink m_before;
};
}

TEST_CASE("trace: a line reaches the sink formatted, with its level")
{
    std::vector<std::pair<Trace::Level, std::string>> lines;
    {
        const SinkForTest sink([&](Trace::Level level, const std::string& text) { lines.emplace_back(level, text); });
        Trace::info("Thing # %d of %s", 3, "four");
        Trace::warning("Thing # code %llu", 18446744073709551615ULL);
        Trace::error("Thing # Zoë 100%%");
    }
    REQUIRE(lines.size() == 3);
    CHECK(lines[0].first == Trace::Level::Info);
    CHECK(lines[0].second == "Thing # 3 of four");
    CHECK(lines[1].first == Trace::Level::Warning);
    CHECK(lines[1].second == "Thing # code 18446744073709551615");
    CHECK(lines[2].first == Trace::Level::Error);
    CHECK(lines[2].second == "Thing # Zoë 100%");
}

TEST_CASE("trace: a long line is not cut")
{
    std::string got;
    const std::string text(5000, 'x');
    {
        const SinkForTest sink([&](Trace::Level, const std::string& line) { got = line; });
        Trace::warning("%s!", text.c_str());
    }
    CHECK(got == text + "!");
}

namespace
{
/// What `log` makes the default sink write.
QByteArray standardErrorOf(const std::function<void()>& log)
{
    QTemporaryFile file;
    REQUIRE(file.open());
    std::fflush(stderr);
    const int standardError = dup(STDERR_FILENO);
    dup2(file.handle(), STDERR_FILENO);
    {
        const SinkForTest sink(nullptr);
        log();
    }
    std::fflush(stderr);
    dup2(standardError, STDERR_FILENO);
    close(standardError);
    file.seek(0);
    return file.readAll();
}
}

TEST_CASE("trace: without a sink a line goes to standard error with its level, on one line and without secrets")
{
    const QByteArray written = standardErrorOf([] {
        Trace::info("A # started");
        Trace::warning("B # late");
        Trace::error("C # first\nsecond\r");
        Trace::error("D # \x1b[2J sent to %s", "ann@example.org");
        Bedrock::PersonalTexts::remember(std::string_view("Trudi Tracer"));
        Trace::error("E # sent to %s", "Trudi Tracer");
    });
    CHECK(written
          == QByteArray("info A # started\nwarning B # late\nerror C # first\\nsecond\\r\n"
                        "error D # \\x1b[2J sent to a…@example.org\n"
                        "error E # sent to T…\n"));
}

TEST_CASE("trace: a name that is a word of the program is shortened in what a line repeats, and stays in the line's own words")
{
    Bedrock::PersonalTexts::remember(std::string_view("lisk"));
    Bedrock::PersonalTexts::remember(std::string_view("Tilda Two"));
    const QByteArray written = standardErrorOf([] {
        Trace::warning("F # the lisk of %s is 100%% full (%s, %5.1f MB%%) lisk", "lisk", "no room on the lisk", 12.25);
        Trace::warning("G # %s %s, and no Tilda Two", "Tilda", "Two");
        Trace::warning("lisk # no argument, lisk");
        Trace::warning("H # %s%s and %c", "li", "sk", 'x');
        Trace::warning("%s", "I # lisk");
        Trace::warning("J # %s \x01 lisk \x02", "\x02 lisk \x01");
    });
    CHECK(written
          == QByteArray("warning F # the lisk of l… is 100% full (no room on the l…,  12.2 MB%) lisk\n"
                        "warning G # T…, and no Tilda Two\n"
                        "warning lisk # no argument, lisk\n"
                        "warning H # l… and x\n"
                        "warning I # l…\n"
                        "warning J # \\x02 l… \\x01 \\x01 lisk \\x02\n"));
}

TEST_CASE("trace: a text that a sink writes in place of the line is shortened everywhere")
{
    Bedrock::PersonalTexts::remember(std::string_view("lisk"));
    const QByteArray written = standardErrorOf([] {
        const SinkForTest sink([](Trace::Level level, const std::string& line) {
            Trace::writeToStandardError(level, line);
            Trace::writeToStandardError(level, line + "!");
        });
        Trace::info("K # the lisk");
    });
    CHECK(written == QByteArray("info K # the lisk\ninfo K # the l…!\n"));
    CHECK(standardErrorOf([] { Trace::writeToStandardError(Trace::Level::Info, "K # the lisk"); }) == "info K # the l…\n");
}

TEST_CASE("trace: on standard error a line of more than 8192 bytes is cut between two characters, and has its size")
{
    const QByteArray whole = standardErrorOf([] { Trace::info("%s", std::string(8192, 'x').c_str()); });
    CHECK(whole == "info " + QByteArray(8192, 'x') + '\n');
    const QByteArray cut = standardErrorOf([] { Trace::info("%s€€", std::string(8190, 'x').c_str()); });
    CHECK(cut == "info " + QByteArray(8190, 'x') + "… (the line has 8196 bytes)\n");
}

TEST_CASE("trace: lines of several threads all arrive, one at a time")
{
    std::vector<std::string> lines; // Needs no lock of its own: the sink is never called twice at once.
    {
        const SinkForTest sink([&](Trace::Level, const std::string& text) { lines.push_back(text); });
        std::vector<std::thread> threads;
        for (int t = 0; t < 4; ++t) {
            threads.emplace_back([t] {
                for (int i = 0; i < 100; ++i)
                    Trace::info("thread %d line %d", t, i);
            });
        }
        for (std::thread& thread : threads)
            thread.join();
    }
    CHECK(lines.size() == 400);
}

TEST_CASE("trace: levels have names")
{
    CHECK(std::string(Trace::levelName(Trace::Level::Info)) == "info");
    CHECK(std::string(Trace::levelName(Trace::Level::Warning)) == "warning");
    CHECK(std::string(Trace::levelName(Trace::Level::Error)) == "error");
}
