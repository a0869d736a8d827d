#include "network/TransportGuard.hpp"

#include <Bedrock/Trace.hpp>
#include <Tavola/Network.hpp>
#include <Trellis/PictureHeader.hpp>

#include <QBuffer>

#include <algorithm>
#include <cmath>

namespace Tavola
{
namespace
{
/// The size in the header of a picture; empty for a picture without one and for other data.
QSize announcedSize(const QByteArray& body)
{
    QBuffer buffer;
    buffer.setData(body);
    buffer.open(QIODevice::ReadOnly);
    return Trellis::PictureHeader::of(buffer).size;
}
}

TransportGuard::TransportGuard(QNetworkReply& transport) : QObject(&transport), m_transport(transport)
{
    const NetworkLimits limits = networkLimits();
    m_timer.setSingleShot(true);
    connect(&m_timer, &QTimer::timeout, this,
            [this, limits] { end(QStringLiteral("no answer within %1 s").arg(limits.timeoutSeconds)); });
    m_timer.start(int(std::ceil(limits.timeoutSeconds * 1000.0)));
    // Qt's network thread reads on while a frame is under way; what lies far beyond the limit stays at its
    // sender. It reads in large pieces, so twice the limit: a buffer that is full below it would wait for the timeout.
    transport.setReadBufferSize(2 * limits.largestAnswerBytes);
    connect(&transport, &QNetworkReply::readyRead, this, [this, limits] {
        if (m_transport.bytesAvailable() > limits.largestAnswerBytes)
            end(QStringLiteral("the answer has more than %1 bytes").arg(limits.largestAnswerBytes));
    });
}

void TransportGuard::end(const QString& why)
{
    if (!m_why.isEmpty() || m_transport.isFinished())
        return;
    m_why = why;
    m_transport.abort();
}

NetworkAnswer TransportGuard::answer() const
{
    const QUrl url = m_transport.url();
    if (!m_why.isEmpty())
        return refusedAnswer(url, QNetworkReply::OperationCanceledError, m_why);
    NetworkAnswer answer = NetworkAnswer::of(m_transport);
    const NetworkLimits& limits = networkLimits();
    if (answer.body.size() > limits.largestAnswerBytes)
        return refusedAnswer(url, QNetworkReply::OperationCanceledError,
                             QStringLiteral("the answer has more than %1 bytes").arg(limits.largestAnswerBytes));
    const QSize size = announcedSize(answer.body);
    if (std::max(size.width(), size.height()) > limits.largestPicturePx)
        return refusedAnswer(url, QNetworkReply::UnknownContentError,
                             QStringLiteral("the picture has %1 × %2 pixels, and more than %3 × %3 are not decoded")
                                 .arg(size.width())
                                 .arg(size.height())
                                 .arg(limits.largestPicturePx));
    return answer;
}

NetworkAnswer refusedAnswer(const QUrl& url, QNetworkReply::NetworkError error, const QString& why)
{
    Bedrock::Trace::warning("Network # %s was not loaded: %s", url.toDisplayString().toUtf8().constData(),
                            why.toUtf8().constData());
    NetworkAnswer answer;
    answer.error = error;
    answer.errorText = why;
    answer.url = url;
    return answer;
}
}
