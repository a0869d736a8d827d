// Test cases that sin against the log on purpose. Not a test of its own: LogCaptureTest runs it and looks at how it ends.
#include <LogCapture.hpp>

#include <Bedrock/Trace.hpp>

#include <doctest/doctest.h>

#include <thread>

namespace Trace = Bedrock::Trace;

TEST_CASE("clean")
{
    TestSupport::expectWarning("A # careful");
    TestSupport::expectErrorStartingWith("B # cannot open");
    Trace::info("A # by the way");
    Trace::warning("A # careful");
    Trace::error("B # cannot open (No such file)");
    CHECK(TestSupport::loggedLines().size() == 3);
}

TEST_CASE("unannounced warning")
{
    Trace::warning("A # surprise");
}

TEST_CASE("unannounced error from a thread")
{
    std::thread([] { Trace::error("A # from afar"); }).join();
}

TEST_CASE("announced line does not come")
{
    TestSupport::expectWarning("A # never");
}

TEST_CASE("announced as a warning, comes as an error")
{
    TestSupport::expectWarning("A # level");
    Trace::error("A # level");
}

TEST_CASE("comes twice, announced once")
{
    TestSupport::expectWarning("A # again");
    Trace::warning("A # again");
    Trace::warning("A # again");
}

TEST_CASE("subcases")
{
    SUBCASE("first")
    {
        Trace::warning("A # in the first");
    }
    SUBCASE("second")
    {
        TestSupport::expectWarning("A # in the second");
        Trace::warning("A # in the second");
        CHECK(TestSupport::loggedLines().size() == 1);
    }
}

TEST_CASE("clean subcases")
{
    TestSupport::expectWarning("A # each time");
    SUBCASE("first") {}
    SUBCASE("second") {}
    Trace::warning("A # each time");
    CHECK(TestSupport::loggedLines().size() == 1);
}

TEST_CASE("two threads race")
{
    int count = 0;
    std::thread other([&] { ++count; });
    ++count;
    other.join();
    CHECK(count > 0);
}

TEST_CASE("fails by itself")
{
    CHECK(1 == 2);
}
