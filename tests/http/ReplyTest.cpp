#include <Http/Reply.hpp>

#include <doctest/doctest.h>

#include <vector>

using namespace Http;

namespace
{
/// Where the answers of a reply arrive.
struct Sent
{
    Reply reply()
    {
        return Reply([this](Response&& response) { statuses.push_back(response.status); });
    }
    std::vector<int> statuses;
};
}

TEST_CASE("HTTP reply: it is sent once")
{
    Sent sent;
    Reply reply = sent.reply();
    reply.send(plainResponse(200, "first"));
    reply.send(plainResponse(404, "second"));
    CHECK(sent.statuses == std::vector<int>{200});
}

TEST_CASE("HTTP reply: one that is dropped answers 500")
{
    Sent sent;
    {
        const Reply reply = sent.reply();
    }
    CHECK(sent.statuses == std::vector<int>{500});
}

TEST_CASE("HTTP reply: one that was moved from answers nothing")
{
    Sent sent;
    {
        Reply reply = sent.reply();
        Reply moved(std::move(reply));
        moved.send(plainResponse(200, "moved"));
    }
    CHECK(sent.statuses == std::vector<int>{200});
}

TEST_CASE("HTTP reply: an assignment answers what was owed before")
{
    Sent sent;
    {
        Reply reply = sent.reply();
        reply = sent.reply();
        reply.send(plainResponse(200, "second"));
        CHECK(sent.statuses == std::vector<int>{500, 200});
    }
    CHECK(sent.statuses.size() == 2);
}
