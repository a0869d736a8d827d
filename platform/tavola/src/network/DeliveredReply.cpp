#include "network/DeliveredReply.hpp"

#include "network/NetworkAnswer.hpp"

#include <QPointer>

#include <algorithm>
#include <cstring>
#include <utility>

namespace Tavola
{
DeliveredReply::DeliveredReply(QNetworkAccessManager::Operation operation, const QNetworkRequest& request,
                               QNetworkAccessManager* manager)
    : QNetworkReply(manager)
{
    setOperation(operation);
    setRequest(request);
    setUrl(request.url());
    open(QIODevice::ReadOnly | QIODevice::Unbuffered);
}

DeliveredReply::~DeliveredReply() = default;

void DeliveredReply::finish(const QByteArray& bytes)
{
    if (isFinished())
        return;
    m_exchange.reset();
    NetworkAnswer answer = NetworkAnswer::fromBytes(bytes);
    setUrl(answer.url);
    if (answer.status != 0) {
        setAttribute(QNetworkRequest::HttpStatusCodeAttribute, answer.status);
        setAttribute(QNetworkRequest::HttpReasonPhraseAttribute, answer.reason);
    }
    if (!answer.redirection.isEmpty())
        setAttribute(QNetworkRequest::RedirectionTargetAttribute, answer.redirection);
    for (const RawHeaderPair& header : qAsConst(answer.headers))
        setRawHeader(header.first, header.second);
    m_body = std::move(answer.body);
    const QPointer<DeliveredReply> alive(this);
    Q_EMIT metaDataChanged();
    if (alive && !m_body.isEmpty())
        Q_EMIT readyRead();
    if (alive && !isFinished())
        end(answer.error, answer.errorText);
}

void DeliveredReply::abort()
{
    if (isFinished())
        return;
    m_exchange.reset();
    end(OperationCanceledError, QStringLiteral("Operation canceled"));
}

void DeliveredReply::end(NetworkError error, const QString& text)
{
    const QPointer<DeliveredReply> alive(this);
    setFinished(true);
    if (error != NoError) {
        setError(error, text);
        Q_EMIT errorOccurred(error);
    }
    if (alive)
        Q_EMIT finished();
}

qint64 DeliveredReply::bytesAvailable() const
{
    return QNetworkReply::bytesAvailable() + m_body.size() - m_read;
}

qint64 DeliveredReply::readData(char* data, qint64 maxSize)
{
    const qint64 count = std::min(maxSize, qint64(m_body.size()) - m_read);
    if (count <= 0)
        return isFinished() ? -1 : 0;
    std::memcpy(data, m_body.constData() + m_read, std::size_t(count));
    m_read += int(count);
    return count;
}
}
