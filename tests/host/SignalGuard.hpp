#pragma once

#include <csignal>

/// Counts SIGINT and SIGTERM while it exists, so that one without another handler does not end the tests.
class SignalGuard
{
public:
    SignalGuard()
    {
        count() = 0;
        m_interruptBefore = std::signal(SIGINT, handler);
        m_terminateBefore = std::signal(SIGTERM, handler);
    }
    ~SignalGuard()
    {
        std::signal(SIGINT, m_interruptBefore);
        std::signal(SIGTERM, m_terminateBefore);
    }
    SignalGuard(const SignalGuard&) = delete;
    SignalGuard& operator=(const SignalGuard&) = delete;

    /// Signals that came to it.
    [[nodiscard]] int caught() const { return count(); }

private:
    static volatile std::sig_atomic_t& count()
    {
        static volatile std::sig_atomic_t value = 0;
        return value;
    }
    static void handler(int) { count() = count() + 1; }

    using Handler = void (*)(int);
    Handler m_interruptBefore;
    Handler m_terminateBefore;
};
