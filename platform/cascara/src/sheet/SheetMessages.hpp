#pragma once

#include <QByteArray>
#include <QString>

namespace Cascara
{
/// Carries warnings about style sheets to the log. Main thread only.
class SheetMessages
{
public:
    /// Logs a line about a place of a sheet, or keeps it for the collection under way.
    static void warn(const QString& sheet, int line, int column, const QByteArray& message);

    /// While an object of this class exists, warnings are kept; the end of the outermost logs them, those of a sheet in the order
    /// of lines. Sheets come in the order in which they were first warned about.
    class Collection
    {
    public:
        Collection();
        Collection(const Collection&) = delete;
        Collection& operator=(const Collection&) = delete;
        ~Collection();
    };
};
}
