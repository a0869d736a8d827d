#include "MediaServerAnswer.hpp"

#include <QJsonDocument>
#include <QUrl>

namespace Host::MediaServerAnswer
{
namespace
{
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
    wrong = wrongWithPage(answer.value(QLatin1String("userpageurl")).toString());
    return wrong.isEmpty() ? std::optional(answer) : std::nullopt;
}
}
