#pragma once

#include <functional>
#include <memory>

namespace Host
{
class EndSignals;
class Table;
class TableWindow;

/// Runs the frames of an open table until its window is closed or the process receives SIGINT or SIGTERM, also before run()
/// begins. Frames follow the clock at 60 a second; a frame without changes costs next to nothing. A replay takes the time it took
/// on the day; at its end the table stands still, and a program without a window ends.
class RunLoop
{
public:
    /// `window` may be null. With `manualClock` no frame runs by itself; Qt's events are served and the window shows
    /// what the frames asked for have changed.
    RunLoop(Table& table, TableWindow* window, bool manualClock);
    /// As above, with a clock of its own: seconds since any moment, never going back.
    using Clock = std::function<double()>;
    RunLoop(Table& table, TableWindow* window, bool manualClock, Clock clock);
    ~RunLoop();
    RunLoop(const RunLoop&) = delete;
    RunLoop& operator=(const RunLoop&) = delete;

    /// The program's exit code. May be called again.
    int run();

private:
    Table& m_table;
    TableWindow* m_window;
    bool m_manualClock;
    Clock m_clock;
    std::unique_ptr<EndSignals> m_signals; ///< until a run ends: signals are handled once
};
}
