#include "MediaServerAnswer.hpp"

#include <Bedrock/PersonalTexts.hpp>

#include <QJsonDocument>
#include <QRegularExpression>
#include <QUrl>

namespace Host::MediaServerAnswer
{
namespace
{
/// What follows the host of an address and is shorter is a word of the server, not a secret.
constexpr int kShortestSecret = 8;

/// From the path on.
QString afterHost(const QString& address)
{
    const int authority = address.indexOf(QLatin1String("://"));
    const int end = address.indexOf(QRegularExpression(QStringLiteral("[/?#]")), authority < 0 ? 0 : authority + 3);
    return end < 0 ? QString() : address.mid(end);
}

void rememberPage(const QString& address)
{
    // Addresses of tavola-mediaserver are shortened by their form, which leaves enough to tell two of them apart.
    static const QRegularExpression known(QStringLiteral("\\A[^?#]*/p/[A-Za-z0-9_-]{16,}(?:/qr\\.png)?\\z"));
    const QUrl url = QUrl::fromUserInput(address);
    for (const QString& form : {address, url.toString(), QString::fromLatin1(url.toEncoded())})
        if (const QString secret = afterHost(form); secret.size() >= kShortestSecret && !known.match(secret).hasMatch())
            Bedrock::PersonalTexts::remember(secret);
}

bool reportsSuccess(const QJsonObject& answer)
{
    const QJsonValue success = answer.value(QLatin1String("success"));
    return success.toBool() || success.toString() == QLatin1String("true");
}

/// Empty, or what is wrong with the address of the page.
QString wrongWithPage(const QString& address)
{
    if (address.isEmpty())
        return {};
    if (address.size() > kLongestPageAddress)
        return QStringLiteral("sent a page address of more than %1 characters").arg(kLongestPageAddress);
    const QString scheme = QUrl(address).scheme();
    if (scheme != QLatin1String("http") && scheme != QLatin1String("https"))
        return QStringLiteral("sent a page address that begins with neither http:// nor https://");
    return {};
}
}

void rememberPages(const QJsonObject& answer)
{
    for (const char* name : {"userpageurl", "qrcodeurl"})
        rememberPage(answer.value(QLatin1String(name)).toString());
}

std::optional<QJsonObject> read(int status, const QByteArray& body, QString& wrong)
{
    const QJsonDocument document = QJsonDocument::fromJson(body);
    const QJsonObject answer = document.object();
    // The body of an error may say why. With a success in it, it comes from a gateway, not from the server.
    const bool contradicts = status >= 400 && reportsSuccess(answer);
    if (!document.isObject() || contradicts) {
        wrong = status >= 400 ? QStringLiteral("answered with status %1").arg(status) : QStringLiteral("sent no JSON object");
        return std::nullopt;
    }
    rememberPages(answer);
    wrong = wrongWithPage(answer.value(QLatin1String("userpageurl")).toString());
    return wrong.isEmpty() ? std::optional(answer) : std::nullopt;
}
}
