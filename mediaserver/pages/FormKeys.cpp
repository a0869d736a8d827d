#include "FormKeys.hpp"

#include <Http/Message.hpp>

#include <QMessageAuthenticationCode>
#include <QRandomGenerator>
#include <QUrl>
#include <QUrlQuery>

#include <array>

namespace MediaServer
{

namespace
{

QByteArray originOf(const QUrl& url)
{
    return (url.scheme() + QLatin1String("://") + url.authority(QUrl::FullyEncoded | QUrl::RemoveUserInfo)).toLatin1().toLower();
}

/// Compares in a time that does not depend on where the texts differ.
bool isEqual(const QByteArray& one, const QByteArray& other)
{
    if (one.size() != other.size())
        return false;
    int difference = 0;
    for (int i = 0; i < one.size(); ++i)
        difference |= one[i] ^ other[i];
    return difference == 0;
}

}

FormKeys::FormKeys(const QString& publicUrl) : m_origin(originOf(QUrl(publicUrl)))
{
    std::array<quint32, 8> bits;
    QRandomGenerator::system()->generate(bits.begin(), bits.end());
    m_secret = QByteArray(reinterpret_cast<const char*>(bits.data()), sizeof bits);
}

QByteArray FormKeys::key(const QString& token, const QString& action) const
{
    const QByteArray message = token.toUtf8() + '\n' + action.toUtf8();
    return QMessageAuthenticationCode::hash(message, m_secret, QCryptographicHash::Sha256).toHex();
}

bool FormKeys::isOwnSite(const Http::Request& request) const
{
    const QByteArray site = request.header("Sec-Fetch-Site");
    if (!site.isNull() && site != "same-origin")
        return false;
    // Browsers say where a form is from. Those that reach the server over plain HTTP send no Sec-Fetch-Site.
    const QByteArray origin = request.header("Origin").toLower();
    const QByteArray host = request.header("Host").toLower();
    return origin == m_origin || origin == "http://" + host || origin == "https://" + host;
}

bool FormKeys::accepts(const Http::Request& request, const QString& token, const QString& action) const
{
    const QUrlQuery form(QString::fromLatin1(request.body));
    return isOwnSite(request) && isEqual(form.queryItemValue(QStringLiteral("key")).toLatin1(), key(token, action));
}

}
