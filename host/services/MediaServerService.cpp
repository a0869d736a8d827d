#include "MediaServerService.hpp"

#include <Bedrock/Trace.hpp>
#include <Http/Address.hpp>
#include <Tavola/Network.hpp>

#include <folly/futures/Future.h>

#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QTimer>

#include <cmath>
#include <stdexcept>
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

bool reportsSuccess(const QJsonObject& answer)
{
    const QJsonValue success = answer.value(QLatin1String("success"));
    return success.toBool() || success.toString() == QLatin1String("true");
}
}

/// One command and its answer. A child of its reply.
class MediaServerService::Exchange final : public QObject
{
public:
    Exchange(MediaServerService& service, QNetworkReply& reply) : QObject(&reply), m_service(service), m_reply(reply)
    {
        // One bound on the whole exchange; Qt's own transfer timeout restarts with every byte.
        m_timer.setSingleShot(true);
        connect(&m_timer, &QTimer::timeout, this,
                [this] { giveUp(QStringLiteral("did not answer within %1 s").arg(m_service.m_timeoutMs / 1000.0)); });
        m_timer.start(m_service.m_timeoutMs);
        // Qt's network thread reads on while a frame is under way; what lies far beyond the limit stays at its sender.
        reply.setReadBufferSize(2 * kLargestAnswerBytes);
        connect(&reply, &QNetworkReply::readyRead, this, [this] {
            if (m_reply.bytesAvailable() > kLargestAnswerBytes)
                giveUp(QStringLiteral("sent an answer that is too long"));
        });
        connect(&reply, &QNetworkReply::finished, this, [this] { finish(); });
    }

    /// A reply that is destroyed before its end means that the service is destroyed.
    ~Exchange() override
    {
        if (!m_promise.isFulfilled())
            fail(QStringLiteral("was not waited for: the table closes"));
    }

    folly::Future<QJsonObject> future() { return m_promise.getFuture(); }

private:
    void fail(const QString& what)
    {
        const QString server = m_address.toString(QUrl::RemoveUserInfo);
        m_promise.setException(std::runtime_error(QStringLiteral("The media server %1 %2").arg(server, what).toStdString()));
    }

    void succeed(const QJsonObject& answer)
    {
        const QString wrong = m_service.check(answer);
        if (wrong.isEmpty())
            m_promise.setValue(answer);
        else
            fail(wrong);
    }

    void giveUp(const QString& why)
    {
        if (m_promise.isFulfilled())
            return;
        fail(why);
        m_reply.abort(); // ends in finish()
    }

    void finish()
    {
        m_timer.stop();
        m_reply.deleteLater();
        if (m_promise.isFulfilled())
            return;
        const int status = m_reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
        // Qt reports an error status as an error, too; those of the connection itself have numbers below.
        const QNetworkReply::NetworkError error = m_reply.error();
        if (error == QNetworkReply::RemoteHostClosedError || (error == QNetworkReply::ContentReSendError && status == 0)
            || isCutShort())
            return fail(QStringLiteral("cut the connection"));
        if (status == 0 || (error != QNetworkReply::NoError && error < QNetworkReply::ContentAccessDenied))
            return fail(QStringLiteral("cannot be reached: ") + m_reply.errorString());
        if (status >= 300 && status < 400)
            return fail(
                QStringLiteral("answered with status %1 and points elsewhere; give the address it points to").arg(status));
        const QJsonDocument document = QJsonDocument::fromJson(m_reply.readAll());
        // The body of an error may say why. With a success in it, it comes from a gateway, not from the server.
        const bool contradicts = status >= 400 && reportsSuccess(document.object());
        if (document.isObject() && !contradicts)
            succeed(document.object());
        else if (status >= 400)
            fail(QStringLiteral("answered with status %1").arg(status));
        else
            fail(QStringLiteral("sent no JSON object"));
    }

    /// Qt does not always notice that a body is shorter than was announced.
    bool isCutShort() const
    {
        const QVariant announced = m_reply.header(QNetworkRequest::ContentLengthHeader);
        return announced.isValid() && m_reply.bytesAvailable() < announced.toLongLong();
    }

    MediaServerService& m_service; ///< owns the network manager, and with it the reply
    QNetworkReply& m_reply;
    const QUrl m_address = m_reply.request().url();
    QTimer m_timer;
    folly::Promise<QJsonObject> m_promise;
};

MediaServerService::MediaServerService(const QUrl& address, double timeoutSeconds, const QByteArray& key)
    : m_address(address), m_timeoutMs(int(std::ceil(timeoutSeconds * 1000.0))), m_key(key)
{
}

MediaServerService::~MediaServerService() = default;

QString MediaServerService::check(const QJsonObject& answer)
{
    const QString text = answer.value(QLatin1String("userpageurl")).toString();
    if (text.isEmpty())
        return {};
    if (text.size() > kLongestPageAddress)
        return QStringLiteral("sent a page address of more than %1 characters").arg(kLongestPageAddress);
    const QUrl page(text);
    if (page.scheme() != QLatin1String("http") && page.scheme() != QLatin1String("https"))
        return QStringLiteral("sent a page address that begins with neither http:// nor https://");
    if (Http::isOnThisMachineOnly(page) && !std::exchange(m_hasWarned, true)) {
        Bedrock::Trace::warning("MediaServerService # Pages have addresses such as %s, which open on this machine only and on no "
                                "visitor's phone: start tavola-mediaserver with --public-url",
                                text.toUtf8().constData());
    }
    return {};
}

folly::Future<QJsonObject> MediaServerService::request(const QJsonObject& command)
{
    if (!hasExactCode(command))
        return folly::makeFuture<QJsonObject>(std::runtime_error(
            QStringLiteral(
                "The media server %1 was not asked: a card's code must be from 0 to 9007199254740991 to be sent exactly")
                .arg(m_address.toString(QUrl::RemoveUserInfo))
                .toStdString()));
    // Credentials go out with the first and only POST; Qt would send them in a second one.
    QNetworkRequest request(m_address.adjusted(QUrl::RemoveUserInfo));
    const QString credentials =
        m_address.userName(QUrl::FullyDecoded) + QLatin1Char(':') + m_address.password(QUrl::FullyDecoded);
    if (!m_key.isEmpty())
        request.setRawHeader("Authorization", "Bearer " + m_key);
    else if (credentials.size() > 1)
        request.setRawHeader("Authorization", "Basic " + credentials.toUtf8().toBase64());
    // A kept connection may be closed by the server just when the next command is on its way.
    request.setRawHeader("Connection", "close");
    request.setHeader(QNetworkRequest::ContentTypeHeader, QByteArrayLiteral("application/json"));
    request.setRawHeader("Accept", "application/json");
    // Set explicitly, so that Qt decompresses nothing: a small answer could become very large.
    request.setRawHeader("Accept-Encoding", "identity");
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
    QIODevice* body = Tavola::makeUnrepeatableBody(QJsonDocument(command).toJson(QJsonDocument::Compact));
    QNetworkReply* reply = m_network.post(request, body);
    body->setParent(reply);
    auto* exchange = new Exchange(*this, *reply);
    return exchange->future();
}
}
