#pragma once

#include <Tavola/HttpClient.hpp>

#include <QByteArray>
#include <QNetworkReply>

class QNetworkAccessManager;

namespace Tavola
{
/// The reply of a network manager whose answers come through the inbox. Finished once: by the delivery of its answer, or by
/// abort(). Main thread only.
class DeliveredReply final : public QNetworkReply
{
public:
    DeliveredReply(QNetworkAccessManager::Operation operation, const QNetworkRequest& request, QNetworkAccessManager* manager);
    ~DeliveredReply() override;

    /// The exchange that brings the answer. It ends with the reply, and when the reply is aborted.
    void setExchange(HttpClient::Exchange exchange) { m_exchange = std::move(exchange); }
    /// `bytes` of a NetworkAnswer. Without effect on one that was aborted.
    void finish(const QByteArray& bytes);

    void abort() override;
    [[nodiscard]] qint64 bytesAvailable() const override;

protected:
    qint64 readData(char* data, qint64 maxSize) override;

private:
    void end(NetworkError error, const QString& text);

    HttpClient::Exchange m_exchange; ///< null in a replay
    QByteArray m_body;
    int m_read = 0; ///< bytes of the body
};
}
