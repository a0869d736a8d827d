#pragma once

#include <QStringList>

namespace Host
{
/// `tavola people`: looks at and changes a presentation's registry of people, also while its table runs.
class PeopleCommand
{
public:
    [[nodiscard]] static const char* help();
    /// Prints its result; returns the program's exit code. `arguments` stand after "people".
    [[nodiscard]] static int run(const QStringList& arguments);
};
}
