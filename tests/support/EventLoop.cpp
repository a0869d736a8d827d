#include "EventLoop.hpp"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QTimer>

namespace TestSupport
{
bool pumpUntil(const std::function<bool()>& condition, int timeoutMs)
{
    QEventLoop loop;
    // Wakes the wait for events below, so that neither the limit nor another thread's work is overslept.
    QTimer ticks;
    ticks.start(2);
    QElapsedTimer elapsed;
    elapsed.start();
    while (!condition()) {
        if (elapsed.hasExpired(timeoutMs))
            return false;
        loop.processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
    }
    return true;
}
}
