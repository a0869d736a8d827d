#pragma once

#include <sys/resource.h>

/// As long as it lives, this process can open so many more files and not one beyond.
class FewerFiles
{
public:
    explicit FewerFiles(int more);
    ~FewerFiles();
    FewerFiles(const FewerFiles&) = delete;
    FewerFiles& operator=(const FewerFiles&) = delete;

private:
    rlimit m_before{};
};
