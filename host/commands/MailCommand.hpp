#pragma once

#include <QStringList>

namespace Host
{
/// `tavola mail`: looks at and works on the messages that a presentation's table has not delivered, also while the table runs.
class MailCommand
{
public:
    [[nodiscard]] static const char* help();
    /// Prints its result; returns the program's exit code. `arguments` stand after "mail".
    [[nodiscard]] static int run(const QStringList& arguments);
};
}
