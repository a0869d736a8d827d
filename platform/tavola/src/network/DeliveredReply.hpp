#pragma once

#include <Bedrock/Reply.hpp>

#include <QByteArray>
#include <QNetworkReply>

#include <memory>

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

    /// Takes ownership of the transport, and answers with its outcome.
    void carry(QNetworkReply* transport, Bedrock::BytesReply answer);
    /// `bytes` of a NetworkAnswer. Without effect on one that was aborted.
    void finish(const QByteArray& bytes);

    void abort() override;
    [[nodiscard]] qint64 bytesAvailable() const override;

protected:
    qint64 readData(char* data, qint64 maxSize) override;

private:
    void end(NetworkError error, const QString& text);

    std::unique_ptr<QNetworkReply> m_transport; ///< null except while the request is under way
    QByteArray m_body;
    int m_read = 0; ///< bytes of the body
};
}
