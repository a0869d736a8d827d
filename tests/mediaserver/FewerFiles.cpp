#include "FewerFiles.hpp"

#include <doctest/doctest.h>

#include <fcntl.h>
#include <unistd.h>
#include <vector>

FewerFiles::FewerFiles(int more)
{
    REQUIRE(::getrlimit(RLIMIT_NOFILE, &m_before) == 0);
    // Files get the lowest free numbers, and the limit is on the number.
    std::vector<int> taken;
    for (int i = 0; i <= more; ++i) {
        taken.push_back(::open("/dev/null", O_RDONLY | O_CLOEXEC));
        REQUIRE(taken.back() >= 0);
    }
    const rlimit fewer{static_cast<rlim_t>(taken.back()), m_before.rlim_max};
    for (const int file : taken)
        ::close(file);
    REQUIRE(::setrlimit(RLIMIT_NOFILE, &fewer) == 0);
}

FewerFiles::~FewerFiles()
{
    CHECK(::setrlimit(RLIMIT_NOFILE, &m_before) == 0);
}
