#include "MailText.hpp"

#include <QRegularExpression>
#include <QUrl>

namespace Host
{
namespace MailText
{
QByteArray plainAddress(const QString& address)
{
    const int at = address.lastIndexOf(QLatin1Char('@'));
    const QByteArray domain = QUrl::toAce(address.mid(at + 1));
    return domain.isEmpty() ? address.toUtf8() : address.left(at + 1).toUtf8() + domain;
}

QString oneLine(const QString& text)
{
    static const QRegularExpression breaks(QStringLiteral("[\\p{Cc}\\x{2028}\\x{2029}]+"));
    return QString(text).replace(breaks, QStringLiteral(" ")).trimmed();
}
}
}
