#pragma once

#include "commands/RunOptions.hpp"

#include <QStringList>

namespace Host
{
/// `tavola run` and `tavola replay`: a table from its opening to its end.
class RunCommand
{
public:
    /// Makes Qt's application, for the program named `program`, and returns the exit code when the table is closed.
    /// `arguments` stand after the command's word. Errors go to standard error.
    [[nodiscard]] static int run(RunOptions::Command command, const QStringList& arguments, char* program);
};
}
