#include <Http/Message.hpp>

#include <doctest/doctest.h>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

using namespace Http;

TEST_CASE("HTTP file: an open one has a size, none has not")
{
    CHECK(File().size() == -1);
    const File empty(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    CHECK(empty.size() == 0);
    const File file(::memfd_create("file", MFD_CLOEXEC));
    REQUIRE(::ftruncate(file.descriptor(), 1234) == 0);
    CHECK(file.size() == 1234);
}

TEST_CASE("HTTP message: a plain answer is text that is not to be kept")
{
    const Response response = plainResponse(413, "Too long.");
    CHECK(response.status == 413);
    CHECK(response.contentType == "text/plain; charset=utf-8");
    CHECK(response.body == "Too long.");
    CHECK_FALSE(response.file.isOpen());
    REQUIRE(response.headers.size() == 1);
    CHECK(response.headers[0].first == "Cache-Control");
    CHECK(response.headers[0].second == "no-store");
}

TEST_CASE("HTTP message: a header is found in any case, the first of its name, without blanks; an empty one is there")
{
    Request request;
    request.headers = {{"Host", " localhost "}, {"X-Twice", "one"}, {"x-twice", "two"}, {"X-Empty", ""}};
    CHECK(request.header("host") == "localhost");
    CHECK(request.header("X-TWICE") == "one");
    CHECK(request.header("X-Empty").isEmpty());
    CHECK(request.hasHeader("x-empty"));
    CHECK_FALSE(request.hasHeader("Origin"));
    CHECK(request.header("Origin").isNull());
}

TEST_CASE("HTTP message: only this machine, under its own name and not for a page of another one, comes from this machine")
{
    struct Row
    {
        const char* host;
        const char* origin;
        const char* site;
        bool isThisMachine;
    };
    const Row rows[] = {
        {"127.0.0.1:8080", nullptr, nullptr, true},
        {"localhost", nullptr, nullptr, true},
        {"[::1]:8080", nullptr, nullptr, true},
        {"localhost:8080", "http://localhost:8080", "same-origin", true},
        {"localhost:8080", "http://127.0.0.1:3000", "same-site", true},
        {"localhost:8080", nullptr, "none", true},
        {"localhost:8080", nullptr, "cross-site", false},
        {"localhost:8080", nullptr, "Cross-Site", false},
        {"localhost:8080", "https://museum.example", nullptr, false},
        {"localhost:8080", "http://localhost.museum.example", nullptr, false},
        {"localhost:8080", "null", nullptr, false},
        {"museum.example", nullptr, nullptr, false},
        {"127.0.0.1.museum.example", nullptr, nullptr, false},
        {"", nullptr, nullptr, false},
    };
    for (const Row& row : rows) {
        CAPTURE(row.host);
        CAPTURE(row.origin);
        Request request;
        request.headers.emplace_back("Host", row.host);
        if (row.origin)
            request.headers.emplace_back("Origin", row.origin);
        if (row.site)
            request.headers.emplace_back("Sec-Fetch-Site", row.site);
        CHECK(comesFromThisMachine(request) == row.isThisMachine);
    }
}

TEST_CASE("HTTP message: a file owns its descriptor until it is released")
{
    int descriptor = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    REQUIRE(descriptor >= 0);
    {
        File file(descriptor);
        File moved(std::move(file));
        CHECK_FALSE(file.isOpen()); // NOLINT(bugprone-use-after-move): a moved-from file is closed
        CHECK(moved.descriptor() == descriptor);
    }
    CHECK(::fcntl(descriptor, F_GETFD) == -1);

    descriptor = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    File kept(descriptor);
    CHECK(kept.release() == descriptor);
    CHECK_FALSE(kept.isOpen());
    CHECK(::fcntl(descriptor, F_GETFD) != -1);
    ::close(descriptor);
}
