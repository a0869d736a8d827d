#include "sheet/SheetWarnings.hpp"

#include <Bedrock/Trace.hpp>

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
        Bedrock::Trace::warning("StyleEngine # %s: there are more than %d mistakes; mend these first, further ones are not told",
                                sheet.toUtf8().constData(), kMost);
    else
        Bedrock::Trace::warning("StyleEngine # %s", told.constData());
}
}
