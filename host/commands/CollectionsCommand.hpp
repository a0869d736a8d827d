#pragma once

#include <QStringList>

namespace Host
{
/// `tavola collections list|clear|import PRESENTATION [CODE ...] [OPTION ...]`: what a presentation's table keeps of what cards
/// have collected.
class CollectionsCommand
{
public:
    /// Carries out the command line after "collections". Returns the program's exit code.
    static int run(const QStringList& arguments);
};
}
