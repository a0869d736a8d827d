#pragma once

#include <QSocketNotifier>

#include <csignal>
#include <functional>
#include <memory>

namespace Host
{
/// Notices that the program is told to end (SIGINT, SIGTERM) while it exists; before and after, the signals do what they did.
/// One at a time, main thread only.
class EndSignals
{
public:
    /// `onEnd` is called from Qt's event loop, never inside the signal handler, and once, however many signals come.
    explicit EndSignals(std::function<void()> onEnd);
    ~EndSignals();
    EndSignals(const EndSignals&) = delete;
    EndSignals& operator=(const EndSignals&) = delete;

    /// False when the system has no means left to listen; the signals are then as they were.
    [[nodiscard]] bool isListening() const noexcept { return m_notifier != nullptr; }

private:
    std::function<void()> m_onEnd;
    int m_readEnd = -1;
    std::unique_ptr<QSocketNotifier> m_notifier;
    struct sigaction m_interruptBefore = {};
    struct sigaction m_terminateBefore = {};
};
}
