#include "MediaServerService.hpp"

#include <folly/futures/Promise.h>

#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QTimer>

#include <cmath>
#include <stdexcept>

namespace Host
{
/// One command and its answer; a child of its reply, which it outlives by nothing.
class MediaServerService::Exchange final : public QObject
{
public:
    Exchange(QNetworkReply& reply, int timeoutMs) : QObject(&reply), m_reply(reply)
    {
        // One bound on the whole exchange; Qt's own transfer timeout begins anew with every byte.
        m_timer.setSingleShot(true);
        connect(&m_timer, &QTimer::timeout, this,
                [this, timeoutMs] { giveUp(QStringLiteral("did not answer within %1 s").arg(timeoutMs / 1000.0)); });
        m_timer.start(timeoutMs);
        connect(&reply, &QNetworkReply::readyRead, this, [this] {
            if (m_reply.bytesAvailable() > kLargestAnswerBytes)
                giveUp(QStringLiteral("sent an answer that is too long"));
        });
        connect(&reply, &QNetworkReply::finished, this, [this] { finish(); });
    }

    /// When the reply goes before its end, the service does.
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
        if (error == QNetworkReply::RemoteHostClosedError || isCutShort())
            return fail(QStringLiteral("cut the connection"));
        if (status == 0 || (error != QNetworkReply::NoError && error < QNetworkReply::ContentAccessDenied))
            return fail(QStringLiteral("cannot be reached: ") + m_reply.errorString());
        if (status >= 300 && status < 400)
            return fail(
                QStringLiteral("answered with status %1 and points elsewhere; give the address it points to").arg(status));
        const QJsonDocument document = QJsonDocument::fromJson(m_reply.readAll());
        // An error's body may say why. One that speaks of success is from somebody else on the way.
        const bool contradicts = status >= 400 && document.object().value(QLatin1String("success")).toBool();
        if (document.isObject() && !contradicts)
            m_promise.setValue(document.object());
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

    QNetworkReply& m_reply;
    const QUrl m_address = m_reply.request().url();
    QTimer m_timer;
    folly::Promise<QJsonObject> m_promise;
};

MediaServerService::MediaServerService(const QUrl& address, double timeoutSeconds)
    : m_address(address), m_timeoutMs(int(std::ceil(timeoutSeconds * 1000.0)))
{
}

MediaServerService::~MediaServerService() = default;

folly::Future<QJsonObject> MediaServerService::request(const QJsonObject& command)
{
    QNetworkRequest request(m_address);
    request.setHeader(QNetworkRequest::ContentTypeHeader, QByteArrayLiteral("application/json"));
    request.setRawHeader("Accept", "application/json");
    // Set by hand so that Qt unpacks nothing: a packed answer could be far larger than it looks.
    request.setRawHeader("Accept-Encoding", "identity");
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
    QNetworkReply* reply = m_network.post(request, QJsonDocument(command).toJson(QJsonDocument::Compact));
    auto* exchange = new Exchange(*reply, m_timeoutMs);
    return exchange->future();
}
}
