#pragma once

namespace Bedrock
{
/// Raises a flag for as long as it lives, also when an exception takes the way out. The flag must outlive it. One thread.
class FlagGuard
{
public:
    explicit FlagGuard(bool& flag) noexcept : m_flag(flag) { m_flag = true; }
    ~FlagGuard() { m_flag = false; }
    FlagGuard(const FlagGuard&) = delete;
    FlagGuard& operator=(const FlagGuard&) = delete;

private:
    bool& m_flag;
};
}
