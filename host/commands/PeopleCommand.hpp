#pragma once

#include <QStringList>

namespace Host
{
/// `tavola people`: lists and changes a presentation's registry of people, also while its table runs.
class PeopleCommand
{
public:
    /// Prints its result; returns the program's exit code. `arguments` stand after "people".
    [[nodiscard]] static int run(const QStringList& arguments);
};
}
