#include "HttpMessage.hpp"

#include <doctest/doctest.h>

using namespace MediaServer;

TEST_CASE("HTTP message: a plain answer is text that nobody keeps")
{
    const HttpResponse response = plainResponse(413, "Too long.");
    CHECK(response.status == 413);
    CHECK(response.contentType == "text/plain; charset=utf-8");
    CHECK(response.body == "Too long.");
    CHECK_FALSE(response.file.isOpen());
    REQUIRE(response.headers.size() == 1);
    CHECK(response.headers[0].first == "Cache-Control");
    CHECK(response.headers[0].second == "no-store");
}
