#include "shared/WebLink.hpp"

#include <doctest/doctest.h>

using MediaServer::parseWebLink;

TEST_CASE("web link: http and https addresses are accepted and encoded")
{
    const auto link = parseWebLink(QStringLiteral("HTTPS://www.Museum.example/a b?x=\"1\"&y=2"));
    REQUIRE(link);
    CHECK(link->href == QLatin1String("https://www.museum.example/a%20b?x=%221%22&y=2"));
    CHECK(link->host == QLatin1String("museum.example"));
    CHECK(parseWebLink(QStringLiteral("http://127.0.0.1:8080/")));
}

TEST_CASE("web link: everything that could run or reach something else is refused")
{
    for (const char* text :
         {"", "javascript:alert(1)", "JavaScript:alert(1)", " javascript:alert(1)", "java\nscript:alert(1)", "data:text/html,x",
          "file:///etc/passwd", "vbscript:x", "//museum.example/x", "/x", "museum.example", "http://", "https:///x",
          "ftp://museum.example/", "mailto:a@museum.example", "http:museum.example"}) {
        CAPTURE(text);
        CHECK_FALSE(parseWebLink(QString::fromLatin1(text)));
    }
}
