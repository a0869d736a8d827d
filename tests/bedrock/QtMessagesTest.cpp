#include <Bedrock/QtMessages.hpp>
#include <LogCapture.hpp>

#include <doctest/doctest.h>

#include <QtDebug>

TEST_CASE("Qt messages: they are lines of the log with their text and level, until the end of the scope")
{
    TestSupport::expectWarning("a warning");
    TestSupport::expectError("critical");
    int elsewhere = 0;
    static int* counter = &elsewhere;
    const auto before = qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) { ++*counter; });
    {
        const Bedrock::QtMessages messages;
        qWarning("a warning");
        qCritical("critical");
        qDebug("debug");
        qInfo("100%% info");
    }
    CHECK(elsewhere == 0);
    qWarning("not in the log");
    CHECK(elsewhere == 1);
    qInstallMessageHandler(before);
    const auto lines = TestSupport::loggedLines();
    REQUIRE(lines.size() == 4);
    CHECK(lines[2].level == Bedrock::Trace::Level::Info);
    CHECK(lines[3].level == Bedrock::Trace::Level::Info);
    CHECK(lines[3].text == "100% info");
}
