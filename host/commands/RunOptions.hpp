#pragma once

#include "commands/CommandLine.hpp"
#include "table/TableOptions.hpp"

#include <Lantern/WindowTarget.hpp>

#include <boost/expected.hpp>

#include <QString>
#include <QStringList>

#include <optional>

namespace Host
{
/// The options of `tavola run` and `tavola replay`. A plain record.
struct RunOptions
{
    enum class Command { Run, Replay };

    QString presentation;                ///< may be empty in a replay: the recording names it
    bool isPresentationRecorded = false; ///< it was named by the recording, not by the operator
    TableOptions table;
    bool headless = false;
    bool manualClock = false;
    bool openGL = false;
    bool fullScreen = false;
    std::optional<int> inspectPort; ///< 0 chooses one

    /// The window for a table of `size` pixels.
    [[nodiscard]] Lantern::WindowOptions window(const QString& title, QSize size) const;

    /// The reason, or the help, in place of options when there is nothing to run. `arguments` stand after the command's word.
    [[nodiscard]] static boost::expected<RunOptions, CommandLine::Exit> parse(const QStringList& arguments,
                                                                              Command command = Command::Run);
};
}
