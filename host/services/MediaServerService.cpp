#include "MediaServerService.hpp"

#include <folly/futures/Promise.h>

#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QTimer>

#include <memory>
#include <stdexcept>

namespace
{
/// Longer answers are refused: the commands' answers are short.
constexpr qint64 kLargestAnswer = 1 << 20;

std::runtime_error failure(const QString& text)
{
    return std::runtime_error(text.toStdString());
}

void complete(folly::Promise<QJsonObject>& promise, QNetworkReply& reply, int timeoutMs)
{
    const QString server = reply.request().url().toString(QUrl::RemoveUserInfo);
    if (reply.property("timedOut").toBool()) {
        promise.setException(failure(QStringLiteral("The media server %1 did not answer within %2 s").arg(server).arg(timeoutMs / 1000.0)));
        return;
    }
    if (reply.property("tooLong").toBool()) {
        promise.setException(failure(QStringLiteral("The media server %1 sent an answer that is too long").arg(server)));
        return;
    }
    const QByteArray body = reply.readAll();
    const int status = reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    const bool answered = status != 0 && (reply.error() == QNetworkReply::NoError || status >= 400);
    if (!answered) {
        promise.setException(failure(QStringLiteral("The media server %1 cannot be reached: %2").arg(server, reply.errorString())));
        return;
    }
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(body, &error);
    if (document.isObject())
        promise.setValue(document.object());
    else if (status >= 400)
        promise.setException(failure(QStringLiteral("The media server %1 answered with status %2").arg(server).arg(status)));
    else
        promise.setException(failure(QStringLiteral("The media server %1 sent no JSON object").arg(server)));
}
}

MediaServerService::MediaServerService(const QUrl& address, double timeoutSeconds)
    : m_address(address), m_timeoutMs(int(timeoutSeconds * 1000.0))
{
}

MediaServerService::~MediaServerService() = default;

folly::Future<QJsonObject> MediaServerService::request(const QJsonObject& command)
{
    QNetworkRequest request(m_address);
    request.setHeader(QNetworkRequest::ContentTypeHeader, QByteArrayLiteral("application/json"));
    QNetworkReply* reply = m_network.post(request, QJsonDocument(command).toJson(QJsonDocument::Compact));

    // One bound on the whole exchange; Qt's own transfer timeout begins anew with every byte.
    auto* timer = new QTimer(reply);
    timer->setSingleShot(true);
    QObject::connect(timer, &QTimer::timeout, reply, [reply] {
        reply->setProperty("timedOut", true);
        reply->abort();
    });
    timer->start(m_timeoutMs);
    QObject::connect(reply, &QNetworkReply::downloadProgress, reply, [reply](qint64 received, qint64) {
        if (received > kLargestAnswer) {
            reply->setProperty("tooLong", true);
            reply->abort();
        }
    });

    auto promise = std::make_shared<folly::Promise<QJsonObject>>();
    folly::Future<QJsonObject> future = promise->getFuture();
    QObject::connect(reply, &QNetworkReply::finished, reply, [reply, promise, timeoutMs = m_timeoutMs] {
        complete(*promise, *reply, timeoutMs);
        reply->deleteLater();
    });
    return future;
}
