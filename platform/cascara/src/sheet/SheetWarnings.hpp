#pragma once

#include <QByteArray>
#include <QSet>
#include <QString>

namespace Cascara
{
/// Logs what is wrong in a style sheet and in those it imports: each line once, as a file that is imported several times has the
/// same mistakes each time, and at most kMost lines. Shared by the sheets. Main thread only.
class SheetWarnings
{
public:
    static constexpr int kMost = 100;

    /// The place counts from 1.
    void log(const QString& sheet, int line, int column, const QString& text);

private:
    QSet<QByteArray> m_logged;
};
}
