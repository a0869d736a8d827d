#include "network/NetworkAnswer.hpp"

#include <QDataStream>
#include <QIODevice>

namespace Tavola
{
namespace
{
constexpr QDataStream::Version kLayout = QDataStream::Qt_5_12;
}

QByteArray NetworkAnswer::toBytes() const
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream.setVersion(kLayout);
    stream << qint32(error) << errorText << url << qint32(status) << reason << redirection << headers << body;
    return bytes;
}

NetworkAnswer NetworkAnswer::fromBytes(const QByteArray& bytes)
{
    NetworkAnswer answer;
    qint32 error = 0;
    qint32 status = 0;
    QDataStream stream(bytes);
    stream.setVersion(kLayout);
    stream >> error >> answer.errorText >> answer.url >> status >> answer.reason >> answer.redirection >> answer.headers
        >> answer.body;
    if (stream.status() != QDataStream::Ok) {
        answer = {};
        answer.error = QNetworkReply::UnknownNetworkError;
        answer.errorText = QStringLiteral("damaged answer");
        return answer;
    }
    answer.error = QNetworkReply::NetworkError(error);
    answer.status = status;
    return answer;
}
}
