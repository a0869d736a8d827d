#include "ResponseHead.hpp"

#include <doctest/doctest.h>

using namespace Http;

namespace
{

const std::string kDate = "Mon, 23 Nov 2026 01:02:03 GMT";

std::string headOf(const Response& response, const HeadFacts& facts)
{
    std::string text = "before|";
    appendHead(text, response, facts, kDate);
    return text;
}

Response hello()
{
    Response response;
    response.contentType = "text/plain";
    return response;
}

} // namespace

TEST_CASE("HTTP head: has the status, what every answer has, the response's headers in their order, and the length")
{
    Response response = hello();
    response.status = 404;
    response.addHeader("Cache-Control", "no-store");
    response.addHeader("Allow", "GET, HEAD");
    HeadFacts facts;
    facts.length = 12;
    CHECK(headOf(response, facts)
          == "before|HTTP/1.1 404 Not Found\r\nDate: " + kDate
              + "\r\nContent-Type: text/plain\r\nX-Content-Type-Options: nosniff\r\nReferrer-Policy: no-referrer\r\n"
                "Cache-Control: no-store\r\nAllow: GET, HEAD\r\nContent-Length: 12\r\n\r\n");
}

TEST_CASE("HTTP head: a header of the response takes the place of the server's and of an earlier one of its name in any case")
{
    Response response = hello();
    response.addHeader("referrer-policy", "same-origin");
    response.addHeader("X-Thing", "first");
    response.addHeader("DATE", "today");
    response.addHeader("content-TYPE", "text/html");
    response.addHeader("x-content-type-options", "none");
    response.addHeader("x-thing", "second");
    HeadFacts facts;
    facts.length = 0;
    CHECK(headOf(response, facts)
          == "before|HTTP/1.1 200 OK\r\nreferrer-policy: same-origin\r\nDATE: today\r\ncontent-TYPE: text/html\r\n"
             "x-content-type-options: none\r\nx-thing: second\r\nContent-Length: 0\r\n\r\n");
}

TEST_CASE("HTTP head: a value cannot begin another line")
{
    Response response;
    response.contentType = "text/plain\r\nSet-Cookie: a=b";
    response.addHeader("X-Name", QByteArray("one\r\n\r\ntwo\nthree\0four\tfive", 26));
    HeadFacts facts;
    facts.length = 0;
    const std::string text = headOf(response, facts);
    CHECK(text.find("Content-Type: text/plain  Set-Cookie: a=b\r\n") != text.npos);
    CHECK(text.find("X-Name: one    two three four\tfive\r\nContent-Length: 0\r\n\r\n") != text.npos);
}

TEST_CASE("HTTP head: says how the body ends and whether the connection is kept, as the version of the client has it")
{
    struct Row
    {
        const char* what;
        HeadFacts facts;
        const char* begin;
        const char* end;
    };
    const Row rows[] = {
        {"kept", {11, true, 5}, "HTTP/1.1 200 OK\r\n", "no-referrer\r\nContent-Length: 5\r\n\r\n"},
        {"ended", {11, false, 5}, "HTTP/1.1 200 OK\r\n", "no-referrer\r\nContent-Length: 5\r\nConnection: close\r\n\r\n"},
        {"chunks", {11, true, {}}, "HTTP/1.1 200 OK\r\n", "no-referrer\r\nTransfer-Encoding: chunked\r\n\r\n"},
        {"old, kept", {10, true, 5}, "HTTP/1.0 200 OK\r\n", "no-referrer\r\nContent-Length: 5\r\nConnection: keep-alive\r\n\r\n"},
        {"old, ended", {10, false, 5}, "HTTP/1.0 200 OK\r\n", "no-referrer\r\nContent-Length: 5\r\n\r\n"},
        {"old, to the end", {10, false, {}}, "HTTP/1.0 200 OK\r\n", "no-referrer\r\n\r\n"},
        {"more than 32 bits", {11, true, 5'000'000'000u}, "HTTP/1.1 200 OK\r\n", "\r\nContent-Length: 5000000000\r\n\r\n"},
    };
    for (const Row& row : rows) {
        CAPTURE(row.what);
        const std::string text = headOf(hello(), row.facts).substr(7);
        const std::string end = row.end;
        CHECK(text.rfind(row.begin, 0) == 0);
        REQUIRE(text.size() > end.size());
        CHECK(text.substr(text.size() - end.size()) == end);
    }
}

TEST_CASE("HTTP date: is in words, and new when the second is another one")
{
    DateText date;
    CHECK(date.at(0) == "Thu, 01 Jan 1970 00:00:00 GMT");
    CHECK(date.at(1795395723) == "Mon, 23 Nov 2026 01:02:03 GMT");
    CHECK(date.at(1795395723) == "Mon, 23 Nov 2026 01:02:03 GMT");
    CHECK(date.at(1795395724) == "Mon, 23 Nov 2026 01:02:04 GMT");
    CHECK(date.at(0) == "Thu, 01 Jan 1970 00:00:00 GMT");
}
