#include "MailText.hpp"

#include <QRegularExpression>
#include <QUrl>

namespace Host
{
namespace MailText
{
bool isAddress(const QString& text)
{
    static const QRegularExpression form(
        QStringLiteral("\\A[^\\s\\p{C}\\p{Z}<>()\\[\\],;:\\\\\"@]{1,64}@(?![.-])[\\p{L}\\p{M}\\p{N}.-]{1,253}(?<![.-])\\z"),
        QRegularExpression::UseUnicodePropertiesOption);
    return form.match(text).hasMatch() && !text.contains(QLatin1String("..")) && !text.startsWith(QLatin1Char('.'))
        && !text.contains(QLatin1String(".@"));
}

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
