#include "MailAddress.hpp"

#include <QRegularExpression>

namespace Host
{
namespace
{
// RFC 5321, 4.5.3.1: of the whole, of what stands before the "@", and of the domain, in bytes.
constexpr int kLongest = 254;
constexpr int kLongestName = 64;
constexpr int kLongestDomain = 253;
}

bool isMailAddress(const QString& text)
{
    static const QRegularExpression form(
        QStringLiteral("\\A[^\\s\\p{C}\\p{Z}<>()\\[\\],;:\\\\\"@.]+(?:\\.[^\\s\\p{C}\\p{Z}<>()\\[\\],;:\\\\\"@.]+)*"
                       "@(?!-)[\\p{L}\\p{M}\\p{N}-]{1,63}(?<!-)(?:\\.(?!-)[\\p{L}\\p{M}\\p{N}-]{1,63}(?<!-))*\\z"),
        QRegularExpression::UseUnicodePropertiesOption);
    const int at = text.indexOf(QLatin1Char('@'));
    return text.size() <= kLongest && text.left(at).toUtf8().size() <= kLongestName && text.size() - at - 1 <= kLongestDomain
        && form.match(text).hasMatch();
}
}
