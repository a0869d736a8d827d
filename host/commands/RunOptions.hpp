#pragma once

#include "table/TableOptions.hpp"

#include <Lantern/WindowTarget.hpp>

#include <QString>
#include <QStringList>

#include <optional>

namespace Host
{
/// What the command line of `tavola run` or `tavola replay` says. A plain record.
struct RunOptions
{
    enum class Command { Run, Replay };

    QString presentation; ///< may be empty in a replay: the recording names it
    TableOptions table;
    bool headless = false;
    bool manualClock = false;
    bool openGL = false;
    bool fullScreen = false;
    std::optional<int> inspectPort; ///< 0 chooses one

    /// The window for a table of `size` pixels.
    [[nodiscard]] Lantern::WindowOptions window(const QString& title, QSize size) const;

    [[nodiscard]] static QString help(Command command = Command::Run);
    /// Nothing, with the reason in `error`, for arguments that make no sense. `arguments` stand after the command's word.
    [[nodiscard]] static std::optional<RunOptions> parse(const QStringList& arguments, QString& error,
                                                         Command command = Command::Run);
};
}
