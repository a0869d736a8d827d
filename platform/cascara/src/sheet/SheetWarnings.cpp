#include "sheet/SheetWarnings.hpp"

#include "sheet/SheetMessages.hpp"

#include <limits>

namespace Cascara
{
void SheetWarnings::log(const QString& sheet, int line, int column, const QString& text)
{
    // One line more than is logged is kept, so that a sheet of a million mistakes does not take the memory for all.
    if (m_logged.size() > kMost)
        return;
    const QByteArray entry =
        QStringLiteral("%1:%2:%3: %4").arg(sheet, QString::number(line), QString::number(column), text).toUtf8();
    if (m_logged.contains(entry))
        return;
    m_logged.insert(entry);
    if (m_logged.size() > kMost)
        SheetMessages::warn(sheet, std::numeric_limits<int>::max(), 0,
                            QStringLiteral("%1: there are more than %2 mistakes; mend these first, further ones are not reported")
                                .arg(sheet)
                                .arg(kMost)
                                .toUtf8());
    else
        SheetMessages::warn(sheet, line, column, entry);
}
}
