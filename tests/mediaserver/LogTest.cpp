#include "Log.hpp"

#include <LogCapture.hpp>
#include <doctest/doctest.h>

using namespace MediaServer;

TEST_CASE("log: a line begins with its level")
{
    CHECK(logLine(QtDebugMsg, QStringLiteral("MediaServer # a")) == "info MediaServer # a\n");
    CHECK(logLine(QtInfoMsg, QStringLiteral("MediaServer # a")) == "info MediaServer # a\n");
    CHECK(logLine(QtWarningMsg, QStringLiteral("MediaServer # a")) == "warning MediaServer # a\n");
    CHECK(logLine(QtCriticalMsg, QStringLiteral("MediaServer # a")) == "error MediaServer # a\n");
    CHECK(logLine(QtFatalMsg, QStringLiteral("MediaServer # a")) == "error MediaServer # a\n");
}

TEST_CASE("log: a text with line ends stays one line")
{
    CHECK(logLine(QtWarningMsg, QStringLiteral("a\nwarning b\r\nc")) == "warning a\\nwarning b\\r\\nc\n");
    CHECK(logLine(QtInfoMsg, QString::fromUtf8("Übersicht")) == "info Übersicht\n");
}

TEST_CASE("log: the detail stands in brackets, if there is one")
{
    TestSupport::expectWarning("MediaServer # What happened (why)");
    TestSupport::expectWarning("MediaServer # What happened");
    logWarning(QStringLiteral("What happened"), QStringLiteral("why"));
    logWarning(QStringLiteral("What happened"));
}

TEST_CASE("log: a rare warning is written once a minute")
{
    const RareWarning::Clock::time_point begin{};
    RareWarning warning;
    TestSupport::expectWarning("MediaServer # Full (1)");
    warning.log(QStringLiteral("Full"), QStringLiteral("1"), begin);
    warning.log(QStringLiteral("Full"), QStringLiteral("2"), begin + std::chrono::seconds(59));
    TestSupport::expectWarning("MediaServer # Full (3)");
    warning.log(QStringLiteral("Full"), QStringLiteral("3"), begin + std::chrono::seconds(60));
    warning.log(QStringLiteral("Full"), QStringLiteral("4"), begin + std::chrono::seconds(119));
}
