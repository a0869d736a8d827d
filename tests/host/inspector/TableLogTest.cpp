#include "inspector/TableLog.hpp"

#include <LogCapture.hpp>

#include <doctest/doctest.h>

#include <QJsonObject>
#include <QTemporaryFile>

#include <unistd.h>

#include <cstdio>
#include <thread>
#include <vector>

using namespace Host;

using Bedrock::Trace::warning;

namespace
{
QString textOf(const QJsonValue& line)
{
    return line.toObject().value("text").toString();
}
}

TEST_CASE("table log: lines are kept with their level, in order")
{
    const TableLog log;
    Bedrock::Trace::info("one");
    warning("two %d", 2);
    Bedrock::Trace::error("three");
    CHECK(log.lines()
          == QJsonArray{QJsonObject{{"level", "info"}, {"text", "one"}}, QJsonObject{{"level", "warning"}, {"text", "two 2"}},
                        QJsonObject{{"level", "error"}, {"text", "three"}}});
}

TEST_CASE("table log: the oldest lines and events are forgotten")
{
    const TableLog log;
    for (std::size_t i = 0; i < TableLog::kKept + 2; ++i) {
        Bedrock::Trace::info("%zu", i);
        Tavola::DataGathering::logEventToService({QString::number(i), {}});
    }
    REQUIRE(log.lines().size() == int(TableLog::kKept));
    CHECK(textOf(log.lines().first()) == "2");
    REQUIRE(log.analytics().size() == int(TableLog::kKept));
    CHECK(log.analytics().first().toObject().value("type") == "2");
}

TEST_CASE("table log: long lines make room sooner, and the last one stays whole")
{
    const TableLog log;
    Bedrock::Trace::info("the first");
    for (int i = 0; i < 20; ++i)
        Bedrock::Trace::info("%d%s", i, std::string(std::size_t(1) << 20, 'x').c_str());
    CHECK(log.lines().size() == 15); // each has a byte or two more than a MiB
    CHECK(textOf(log.lines().first()).startsWith("5x"));
    Bedrock::Trace::info("%s", std::string(TableLog::kKeptBytes + 1, 'y').c_str());
    REQUIRE(log.lines().size() == 1);
    CHECK(textOf(log.lines().first()).size() == int(TableLog::kKeptBytes) + 1);
    Bedrock::Trace::info("short");
    CHECK(log.lines().size() == 1);
    CHECK(textOf(log.lines().first()) == "short");
}

TEST_CASE("table log: lines of several threads all arrive, each whole")
{
    const TableLog log;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([] {
            for (int i = 0; i < 100; ++i)
                Bedrock::Trace::info("a line of some length");
        });
    for (std::thread& thread : threads)
        thread.join();
    const QJsonArray lines = log.lines();
    CHECK(lines.size() == 400);
    for (const QJsonValue& line : lines)
        CHECK(textOf(line) == "a line of some length");
}

TEST_CASE("table log: when it goes, those that listened before listen again")
{
    int events = 0;
    const auto before = Tavola::DataGathering::setSink([&events](const Tavola::DataGathering::Event&) { ++events; });
    {
        const TableLog log;
        warning("of the table");
        Tavola::DataGathering::logEventToService({QStringLiteral("of the table"), {}});
    }
    TestSupport::expectWarning("of the test");
    warning("of the test");
    Tavola::DataGathering::logEventToService({QStringLiteral("of the test"), {}});
    CHECK(events == 1);
    Tavola::DataGathering::setSink(before);
}

TEST_CASE("table log: a text from outside with line ends is one line on standard error, and kept as it came")
{
    QTemporaryFile file;
    REQUIRE(file.open());
    std::fflush(stderr);
    const int standardError = dup(STDERR_FILENO);
    dup2(file.handle(), STDERR_FILENO);
    {
        const TableLog log;
        warning("Uploader # refused\nResponse was : {}\nerror Forged # line");
        CHECK(textOf(log.lines().first()) == "Uploader # refused\nResponse was : {}\nerror Forged # line");
    }
    std::fflush(stderr);
    dup2(standardError, STDERR_FILENO);
    close(standardError);
    file.seek(0);
    CHECK(file.readAll() == QByteArray("warning Uploader # refused\\nResponse was : {}\\nerror Forged # line\n"));
}
