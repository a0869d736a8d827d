#include "pages/PageScript.hpp"

#include <doctest/doctest.h>

#include <QByteArray>

using MediaServer::kPageScript;

TEST_CASE("page script: it can be part of a page and asks this page alone")
{
    const QByteArray script(kPageScript);
    CHECK_FALSE(script.contains("</"));
    CHECK_FALSE(script.contains("<!--"));
    CHECK_FALSE(script.contains("http"));
    CHECK(script.count("fetch(") == 1);
    CHECK(script.contains("fetch(location.href"));
    CHECK(script.count('{') == script.count('}'));
    CHECK(script.count('(') == script.count(')'));
}
