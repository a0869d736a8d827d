#include "sheet/SheetWarnings.hpp"

#include "sheet/SheetMessages.hpp"

#include <limits>

namespace Cascara
{
void SheetWarnings::log(const QString& sheet, int line, int column, const QString& text)
{
    // One more than can be told is known, so that a sheet of a million mistakes does not keep them all.
    if (m_told.size() > kMost)
        return;
    const QByteArray told =
        QStringLiteral("%1:%2:%3: %4").arg(sheet, QString::number(line), QString::number(column), text).toUtf8();
    if (m_told.contains(told))
        return;
    m_told.insert(told);
    if (m_told.size() > kMost)
        SheetMessages::warn(sheet, std::numeric_limits<int>::max(), 0,
                            QStringLiteral("%1: there are more than %2 mistakes; mend these first, further ones are not told")
                                .arg(sheet)
                                .arg(kMost)
                                .toUtf8());
    else
        SheetMessages::warn(sheet, line, column, told);
}
}
