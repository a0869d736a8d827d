#include <Patience.hpp>
#include <QByteArray>
#include <QCoreApplication>
#include <QProcess>

#include <doctest/doctest.h>

namespace
{
struct Outcome
{
    int exitCode = -1;
    QByteArray complaints;
};

/// Runs one of the probe's test cases in a process of its own.
Outcome probe(const char* testCase)
{
    QProcess process;
    process.start(QCoreApplication::applicationDirPath() + QStringLiteral("/log_probe"),
                  {QStringLiteral("-tc=%1").arg(QString::fromLatin1(testCase))});
    REQUIRE(process.waitForFinished(TestSupport::kPatienceMs));
    REQUIRE(process.exitStatus() == QProcess::NormalExit);
    return {process.exitCode(), process.readAllStandardError()};
}
}

TEST_CASE("log capture: a test whose lines are all announced passes")
{
    CHECK(probe("clean").exitCode == 0);
    CHECK(probe("clean subcases").exitCode == 0);
}

TEST_CASE("log capture: a test that logs otherwise than announced fails, and says what and where")
{
    struct Row
    {
        const char* testCase;
        const char* complaint;
    };
    const Row rows[] = {
        {"unannounced warning", "unannounced warning: A # surprise"},
        {"unannounced error from a thread", "unannounced error: A # from afar"},
        {"announced line does not come", "announced warning did not come: A # never"},
        {"announced as a warning*", "unannounced error: A # level"},
        {"comes twice*", "unannounced warning: A # again"},
        {"subcases", "unannounced warning: A # in the first"},
    };
    for (const Row& row : rows) {
        CAPTURE(row.testCase);
        const Outcome outcome = probe(row.testCase);
        CHECK(outcome.exitCode != 0);
        CHECK(outcome.complaints.contains(row.complaint));
    }
    CHECK(probe("subcases").complaints.count("LOG FAILURE in \"subcases\"") == 1);
}

#ifdef __SANITIZE_THREAD__
TEST_CASE("test main: a race that ThreadSanitizer sees fails the process")
{
    const Outcome outcome = probe("two threads race");
    CHECK(outcome.exitCode != 0);
    CHECK(outcome.complaints.contains("ThreadSanitizer: data race"));
}
#endif

TEST_CASE("test main: a failed check fails the process")
{
    CHECK(probe("fails by itself").exitCode != 0);
}

TEST_CASE("test main: a filter that matches nothing fails")
{
    const Outcome outcome = probe("there is no such test");
    CHECK(outcome.exitCode != 0);
    CHECK(outcome.complaints.contains("no test case ran"));
}
