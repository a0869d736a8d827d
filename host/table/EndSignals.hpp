#pragma once

#include <QSocketNotifier>

#include <csignal>
#include <functional>
#include <memory>

namespace Host
{
/// Handles SIGINT and SIGTERM during its lifetime and restores the earlier handlers afterwards. One instance at a time, main
/// thread only.
class EndSignals
{
public:
    /// `onEnd` is called once, at the first signal, from Qt's event loop and not inside the signal handler.
    explicit EndSignals(std::function<void()> onEnd);
    ~EndSignals();
    EndSignals(const EndSignals&) = delete;
    EndSignals& operator=(const EndSignals&) = delete;

    /// False when the system refused a pipe; the signals then have their earlier handlers.
    [[nodiscard]] bool isListening() const noexcept { return m_notifier != nullptr; }

private:
    std::function<void()> m_onEnd;
    int m_readEnd = -1;
    std::unique_ptr<QSocketNotifier> m_notifier;
    struct sigaction m_interruptBefore = {};
    struct sigaction m_terminateBefore = {};
};
}
