#include "keyboard/DeadKeys.hpp"

#include <utility>

namespace Tavola
{
namespace
{
/// The combining character of an accent, or null.
QChar combining(const QString& accent)
{
    if (accent.size() != 1)
        return {};
    switch (accent.at(0).unicode()) {
    case 0x00B4: return QChar(0x0301); // ´
    case '`': return QChar(0x0300);
    case '^': return QChar(0x0302);
    case 0x00A8: return QChar(0x0308); // ¨
    case '~': return QChar(0x0303);
    default: return {};
    }
}
}

bool DeadKeys::isAccent(const QString& text)
{
    return !combining(text).isNull();
}

QString DeadKeys::press(const QString& accent)
{
    const QString before = release();
    if (before == accent)
        return accent;
    m_pending = accent;
    return before;
}

QString DeadKeys::join(const QString& text)
{
    if (!isPending())
        return text;
    const QString accent = release();
    if (text == QLatin1String(" "))
        return accent;
    const QString joined = (text + combining(accent)).normalized(QString::NormalizationForm_C);
    // Where Unicode has no such letter the combining character would stand over the next one.
    return joined.size() == text.size() ? joined : accent + text;
}

QString DeadKeys::release()
{
    return std::exchange(m_pending, QString());
}
}
