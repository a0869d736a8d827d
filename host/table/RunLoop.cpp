#include "table/RunLoop.hpp"

#include "table/EndSignals.hpp"
#include "table/FramePacer.hpp"
#include "table/Table.hpp"
#include "window/TableWindow.hpp"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTimer>

namespace Host
{
namespace
{
constexpr int kFrameMs = 16;

double secondsSinceStart()
{
    static const QElapsedTimer timer = [] {
        QElapsedTimer started;
        started.start();
        return started;
    }();
    return double(timer.nsecsElapsed()) * 1e-9;
}

std::unique_ptr<EndSignals> listen()
{
    return std::make_unique<EndSignals>([] { QCoreApplication::quit(); });
}
}

RunLoop::RunLoop(Table& table, TableWindow* window, bool manualClock) : RunLoop(table, window, manualClock, secondsSinceStart) {}

RunLoop::RunLoop(Table& table, TableWindow* window, bool manualClock, Clock clock)
    : m_table(table), m_window(window), m_manualClock(manualClock), m_clock(std::move(clock)), m_signals(listen())
{
}

RunLoop::~RunLoop() = default;

int RunLoop::run()
{
    if (!m_signals)
        m_signals = listen();
    if (!m_signals->isListening())
        return 1;
    FramePacer pacer(m_table.isReplay() ? FramePacer::Mode::Replay : FramePacer::Mode::Live,
                     [this](double dt) { return m_table.frame(dt); });
    double before = m_clock();
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, &timer, [&] {
        if (!m_manualClock) {
            const double now = m_clock();
            pacer.tick(now - before);
            before = now;
            if (pacer.isOver() && !m_window)
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
    m_signals.reset();
    return code;
}
}
