#include "shared/Log.hpp"

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
