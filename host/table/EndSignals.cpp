#include "table/EndSignals.hpp"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace Host
{
namespace
{
volatile std::sig_atomic_t writeEnd = -1;

/// Few functions are allowed in a signal handler; this one writes a byte that the event loop reads.
void onSignal(int)
{
    const int before = errno;
    const char byte = 1;
    [[maybe_unused]] const ssize_t written = ::write(int(writeEnd), &byte, 1);
    errno = before;
}
}

EndSignals::EndSignals(std::function<void()> onEnd) : m_onEnd(std::move(onEnd))
{
    int ends[2];
    // Non-blocking: when many signals have filled the pipe, another one adds nothing.
    if (::pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0)
        return;
    m_readEnd = ends[0];
    writeEnd = ends[1];
    m_notifier = std::make_unique<QSocketNotifier>(m_readEnd, QSocketNotifier::Read);
    QObject::connect(m_notifier.get(), &QSocketNotifier::activated, m_notifier.get(), [this] {
        m_notifier->setEnabled(false);
        m_onEnd();
    });
    struct sigaction action = {};
    action.sa_handler = onSignal;
    action.sa_flags = SA_RESTART;
    ::sigemptyset(&action.sa_mask);
    ::sigaction(SIGINT, &action, &m_interruptBefore);
    ::sigaction(SIGTERM, &action, &m_terminateBefore);
}

EndSignals::~EndSignals()
{
    if (!m_notifier)
        return;
    ::sigaction(SIGINT, &m_interruptBefore, nullptr);
    ::sigaction(SIGTERM, &m_terminateBefore, nullptr);
    m_notifier.reset();
    ::close(m_readEnd);
    ::close(int(writeEnd));
    writeEnd = -1;
}
}
