#include "Log.hpp"

#include <LogCapture.hpp>
#include <doctest/doctest.h>

using namespace MediaServer;

TEST_CASE("log: the detail stands in brackets, if there is one")
{
    TestSupport::expectWarning("MediaServer # What happened (why)");
    TestSupport::expectWarning("MediaServer # What happened");
    logWarning(QStringLiteral("What happened"), QStringLiteral("why"));
    logWarning(QStringLiteral("What happened"));
    logInfo(QString::fromUtf8("Übersicht"));
    CHECK(TestSupport::loggedLines().back().text == "MediaServer # Übersicht");
}

TEST_CASE("log: Qt's messages keep their text and find their level")
{
    const QMessageLogContext context;
    TestSupport::expectWarning("a warning");
    TestSupport::expectError("critical");
    TestSupport::expectError("fatal");
    logQtMessage(QtWarningMsg, context, QStringLiteral("a warning"));
    logQtMessage(QtCriticalMsg, context, QStringLiteral("critical"));
    logQtMessage(QtFatalMsg, context, QStringLiteral("fatal"));
    logQtMessage(QtDebugMsg, context, QStringLiteral("debug"));
    logQtMessage(QtInfoMsg, context, QStringLiteral("info"));
    const auto lines = TestSupport::loggedLines();
    REQUIRE(lines.size() == 5);
    CHECK(lines[3].level == Bedrock::Trace::Level::Info);
    CHECK(lines[4].level == Bedrock::Trace::Level::Info);
}
