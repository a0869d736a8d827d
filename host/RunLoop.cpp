#include "RunLoop.hpp"

#include "Table.hpp"
#include "TableWindow.hpp"

#include <Trellis/Application.hpp>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QSocketNotifier>
#include <QTimer>

#include <algorithm>
#include <csignal>
#include <optional>
#include <sys/socket.h>
#include <unistd.h>

namespace
{
constexpr int kFrameMs = 16;
/// A program that was stopped for a while goes on where it was instead of jumping ahead.
constexpr double kLongestStepSeconds = 0.25;

int signalSockets[2] = {-1, -1};

void onSignal(int)
{
    const char byte = 1;
    [[maybe_unused]] const ssize_t written = ::write(signalSockets[1], &byte, 1);
}
}

RunLoop::RunLoop(Table& table, TableWindow* window, bool manualClock)
    : m_table(table), m_window(window), m_manualClock(manualClock)
{
}

int RunLoop::run()
{
    // A signal handler may do next to nothing; it writes a byte that the event loop reads.
    if (::socketpair(AF_UNIX, SOCK_STREAM, 0, signalSockets) != 0)
        return 1;
    QSocketNotifier notifier(signalSockets[0], QSocketNotifier::Read);
    QObject::connect(&notifier, &QSocketNotifier::activated, &notifier, [&notifier] {
        notifier.setEnabled(false);
        QCoreApplication::quit();
    });
    std::signal(SIGINT, onSignal);
    std::signal(SIGTERM, onSignal);

    QTimer timer;
    QElapsedTimer clock;
    clock.start();
    double ahead = 0.0; // of a replay: how far its frames are ahead of the clock
    bool isOver = false;
    QObject::connect(&timer, &QTimer::timeout, &timer, [&] {
        const double dt = std::min(double(clock.nsecsElapsed()) * 1e-9, kLongestStepSeconds);
        clock.start();
        if (!m_manualClock && !m_table.isReplay()) {
            m_table.frame(dt);
        } else if (!m_manualClock && !isOver) {
            for (ahead -= dt; ahead <= 0.0 && !isOver;) {
                const std::optional<double> step = m_table.frame(dt);
                isOver = !step;
                ahead += step.value_or(0.0);
                if (step == 0.0)
                    break;
            }
            if (isOver && !m_window)
                QCoreApplication::quit();
        }
        if (m_window) {
            m_window->draw();
            if (m_window->isClosed())
                QCoreApplication::quit();
        }
    });
    timer.setTimerType(Qt::PreciseTimer);
    if (!m_manualClock || m_window)
        timer.start(kFrameMs);
    const int code = QCoreApplication::exec();
    std::signal(SIGINT, SIG_DFL);
    std::signal(SIGTERM, SIG_DFL);
    ::close(signalSockets[0]);
    ::close(signalSockets[1]);
    return code;
}
