#include "MediaServerService.hpp"

#include "MediaServerAnswer.hpp"

#include <Bedrock/Trace.hpp>
#include <Http/Address.hpp>

#include <folly/futures/Future.h>

#include <QJsonDocument>
#include <QJsonObject>

#include <utility>

namespace Host
{
namespace
{
/// JSON's numbers are doubles. From 2^53 on a code may stand for its neighbour; codes from 2^63 on arrive here negative.
constexpr double kFirstInexactCode = 9007199254740992.0;

bool hasExactCode(const QJsonObject& command)
{
    const QJsonValue code = command.value(QLatin1String("tessel"));
    return !code.isDouble() || (code.toDouble() >= 0.0 && code.toDouble() < kFirstInexactCode);
}
}

struct MediaServerService::Exchange
{
    folly::Promise<QJsonObject> promise;
    Tavola::HttpClient::Exchange http;
};

MediaServerService::MediaServerService(const QUrl& address, double timeoutSeconds, const QByteArray& key)
    : m_address(address), m_timeoutSeconds(timeoutSeconds), m_key(key)
{
}

MediaServerService::~MediaServerService()
{
    for (auto& [number, exchange] : std::exchange(m_exchanges, {})) {
        exchange->http.reset();
        exchange->promise.setException(failure(QStringLiteral("was not waited for: the table closes")));
    }
}

std::runtime_error MediaServerService::failure(const QString& what) const
{
    return std::runtime_error(
        QStringLiteral("The media server %1 %2").arg(m_address.toString(QUrl::RemoveUserInfo), what).toStdString());
}

QString MediaServerService::read(const Tavola::HttpAnswer& answer, QJsonObject& object)
{
    using End = Tavola::HttpAnswer::End;
    switch (answer.end) {
    case End::Whole: break;
    case End::Unreachable: return QStringLiteral("cannot be reached: ") + answer.detail;
    case End::NotTrusted: return QStringLiteral("cannot be trusted: ") + answer.detail;
    case End::Cut: return QStringLiteral("cut the connection");
    case End::NoHttp: return QStringLiteral("sent something that is no HTTP");
    case End::Late: return QStringLiteral("did not answer within %1 s").arg(m_timeoutSeconds);
    case End::HeadTooLong:
    case End::BodyTooLong: return QStringLiteral("sent an answer that is too long");
    }
    const int status = answer.status;
    if (status >= 300 && status < 400)
        return QStringLiteral("answered with status %1 and points elsewhere; give the address it points to").arg(status);
    QString wrong;
    if (const auto read = MediaServerAnswer::read(status, answer.body, wrong)) {
        object = *read;
        warnOfLocalPage(object);
    }
    return wrong;
}

void MediaServerService::end(std::uint64_t number, const Tavola::HttpAnswer& answer)
{
    const auto found = m_exchanges.find(number);
    const auto exchange = std::move(found->second);
    m_exchanges.erase(found);
    QJsonObject object;
    const QString wrong = read(answer, object);
    // The last line: what waits for the answer may end the service.
    if (wrong.isEmpty())
        exchange->promise.setValue(object);
    else
        exchange->promise.setException(failure(wrong));
}

void MediaServerService::warnOfLocalPage(const QJsonObject& answer)
{
    const QString page = answer.value(QLatin1String("userpageurl")).toString();
    if (!page.isEmpty() && Http::isOnThisMachineOnly(QUrl(page)) && !std::exchange(m_hasWarned, true)) {
        Bedrock::Trace::warning("MediaServerService # Pages have addresses such as %s, which open on this machine only and on no "
                                "visitor's phone: start tavola-mediaserver with --public-url",
                                page.toUtf8().constData());
    }
}

folly::Future<QJsonObject> MediaServerService::request(const QJsonObject& command)
{
    if (!hasExactCode(command))
        return folly::makeFuture<QJsonObject>(
            failure(QStringLiteral("was not asked: a card's code must be from 0 to 9007199254740991 to be sent exactly")));
    Tavola::HttpRequest http;
    http.method = "POST";
    // Credentials go in a header, and stand in no message.
    http.url = m_address.adjusted(QUrl::RemoveUserInfo);
    http.body = QJsonDocument(command).toJson(QJsonDocument::Compact);
    http.largestBodyBytes = kLargestAnswerBytes;
    http.timeoutSeconds = m_timeoutSeconds;
    http.headers = {{"Content-Type", "application/json"}, {"Accept", "application/json"}, {"Connection", "close"}};
    const QJsonValue code = command.value(QLatin1String("tessel"));
    const QString language =
        m_languageOf && code.isDouble() ? m_languageOf(static_cast<unsigned long>(code.toDouble())) : QString();
    if (!language.isEmpty())
        http.headers.append({"Accept-Language", language.toUtf8()});
    const QString credentials =
        m_address.userName(QUrl::FullyDecoded) + QLatin1Char(':') + m_address.password(QUrl::FullyDecoded);
    if (!m_key.isEmpty())
        http.headers.append({"Authorization", "Bearer " + m_key});
    else if (credentials.size() > 1)
        http.headers.append({"Authorization", "Basic " + credentials.toUtf8().toBase64()});

    const std::uint64_t number = ++m_last;
    Exchange& exchange = *m_exchanges.emplace(number, std::make_unique<Exchange>()).first->second;
    exchange.http = m_client.send(std::move(http), [this, number](const Tavola::HttpAnswer& answer) { end(number, answer); });
    return exchange.promise.getFuture();
}
}
