#pragma once

#include <atomic>
#include <cstdint>
#include <thread>

namespace Bench
{
/// A mail server of this machine that accepts everything and keeps nothing, with as little work as that takes: it serves one
/// connection at a time, on a thread of its own.
class SmtpSink
{
public:
    /// Listens from here on. Throws std::runtime_error.
    SmtpSink();
    ~SmtpSink();
    SmtpSink(const SmtpSink&) = delete;
    SmtpSink& operator=(const SmtpSink&) = delete;

    [[nodiscard]] int port() const { return m_port; }
    /// Bytes of messages so far. Any thread.
    [[nodiscard]] std::int64_t bytes() const { return m_bytes; }

private:
    void run();
    void converse(int connection);

    int m_listener = -1;
    int m_port = 0;
    std::atomic<std::int64_t> m_bytes{0};
    std::atomic<bool> m_isEnding{false};
    std::thread m_thread;
};
}
