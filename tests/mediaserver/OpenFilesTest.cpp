#include "OpenFiles.hpp"

#include <doctest/doctest.h>

#include <sys/resource.h>

using MediaServer::connectionsWithinOpenFiles;

namespace
{

/// Another limit for this process while the test runs. The hard one cannot be raised again and stays.
struct OpenFilesFixture
{
    OpenFilesFixture() { REQUIRE(::getrlimit(RLIMIT_NOFILE, &before) == 0); }
    ~OpenFilesFixture() { ::setrlimit(RLIMIT_NOFILE, &before); }

    void allow(rlim_t files)
    {
        const rlimit wanted{files, before.rlim_max};
        REQUIRE(::setrlimit(RLIMIT_NOFILE, &wanted) == 0);
    }

    rlim_t allowed()
    {
        rlimit now{};
        REQUIRE(::getrlimit(RLIMIT_NOFILE, &now) == 0);
        return now.rlim_cur;
    }

    rlimit before{};
};

}

TEST_CASE_FIXTURE(OpenFilesFixture, "open files: the limit is raised as far as the connections need it")
{
    REQUIRE(before.rlim_max >= 256);
    allow(128);
    CHECK(connectionsWithinOpenFiles(100).value() == 100);
    CHECK(allowed() == 248);
}

TEST_CASE_FIXTURE(OpenFilesFixture, "open files: a limit that is high enough stays")
{
    REQUIRE(before.rlim_max >= 256);
    allow(256);
    CHECK(connectionsWithinOpenFiles(100).value() == 100);
    CHECK(allowed() == 256);
}
