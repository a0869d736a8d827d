#pragma once

#include <QStringList>

namespace Host
{
/// `tavola mail`: lists, retries and drops the messages that a presentation's table has not delivered, also while the table runs.
class MailCommand
{
public:
    /// Prints its result; returns the program's exit code. `arguments` stand after "mail".
    [[nodiscard]] static int run(const QStringList& arguments);
};
}
