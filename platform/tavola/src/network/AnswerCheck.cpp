#include "network/AnswerCheck.hpp"

#include <Bedrock/Trace.hpp>
#include <Trellis/PictureHeader.hpp>

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QImageReader>
#include <QList>

#include <sys/statvfs.h>

#include <algorithm>

namespace Tavola
{
namespace
{
using End = HttpAnswer::End;

/// A body as a picture.
struct Announced
{
    Trellis::PictureHeader header; ///< without a format for what is no picture
    QByteArray refusedFormat;      ///< of a picture that is not decoded
};

Announced announcedBy(const QByteArray& body)
{
    // Pictures of points alone: a drawing may name other files, which its decoder reads as soon as it is asked for the size.
    static const QList<QByteArray> formats = {"bmp", "gif", "ico", "jpeg", "png", "webp"};
    QBuffer buffer;
    buffer.setData(body);
    buffer.open(QIODevice::ReadOnly);
    const QByteArray format = QImageReader::imageFormat(&buffer);
    if (formats.contains(format))
        return {Trellis::PictureHeader::of(buffer), {}};
    return {{}, format};
}

/// Whether the disk has room for the file that a downloaded picture is kept in: one that is cut off would be shown from then on.
bool hasRoomFor(const QSize& picture, const QString& folder)
{
    constexpr double kBytesPerPixel = 4.0;
    constexpr double kHeadBytes = 65536.0;
    struct statvfs disk = {};
    if (::statvfs(QFile::encodeName(folder).constData(), &disk) != 0)
        return true; // what is wrong with the folder shows when the file is written
    const double needed = double(picture.width()) * picture.height() * kBytesPerPixel + kHeadBytes;
    return double(disk.f_bavail) * double(disk.f_frsize) >= needed;
}

void warn(const QUrl& url, const QString& what)
{
    Bedrock::Trace::warning("Network # %s %s", url.toDisplayString().toUtf8().constData(), what.toUtf8().constData());
}

NetworkAnswer failedAnswer(const QUrl& url, QNetworkReply::NetworkError error, const QString& text)
{
    NetworkAnswer answer;
    answer.error = error;
    answer.errorText = text;
    answer.url = url;
    return answer;
}

NetworkAnswer unfinishedAnswer(const QUrl& url, const HttpAnswer& answer, const NetworkLimits& limits)
{
    const auto refused = [&url](const QString& why) { return refusedAnswer(url, QNetworkReply::OperationCanceledError, why); };
    switch (answer.end) {
    case End::Whole: break;
    case End::Late: return refused(QStringLiteral("no answer within %1 s").arg(limits.timeoutSeconds));
    case End::BodyTooLong: return refused(QStringLiteral("the answer has more than %1 bytes").arg(limits.largestAnswerBytes));
    case End::HeadTooLong:
        return refused(QStringLiteral("the head of the answer has more than %1 bytes").arg(HttpClient::kLargestHeadBytes));
    case End::NoHttp: return refused(QStringLiteral("the answer is no HTTP"));
    case End::Cut: return failedAnswer(url, QNetworkReply::RemoteHostClosedError, QStringLiteral("Connection closed"));
    case End::NotTrusted:
        return failedAnswer(url, QNetworkReply::SslHandshakeFailedError,
                            QStringLiteral("SSL handshake failed: %1").arg(answer.detail));
    case End::Unreachable: break;
    }
    return failedAnswer(url, QNetworkReply::UnknownNetworkError, answer.detail);
}

QNetworkReply::NetworkError errorOfStatus(int status)
{
    switch (status) {
    case 401: return QNetworkReply::AuthenticationRequiredError;
    case 403: return QNetworkReply::ContentAccessDenied;
    case 404: return QNetworkReply::ContentNotFoundError;
    case 405: return QNetworkReply::ContentOperationNotPermittedError;
    case 409: return QNetworkReply::ContentConflictError;
    case 410: return QNetworkReply::ContentGoneError;
    case 500: return QNetworkReply::InternalServerError;
    case 501: return QNetworkReply::OperationNotImplementedError;
    case 503: return QNetworkReply::ServiceUnavailableError;
    default: break;
    }
    if (status >= 500)
        return QNetworkReply::UnknownServerError;
    return status >= 400 ? QNetworkReply::UnknownContentError : QNetworkReply::NoError;
}

bool isRedirection(int status)
{
    return status >= 301 && status <= 308 && status != 304 && status != 306;
}

/// For the operator: what a visitor sees is a picture that does not come.
void warnOfNoPicture(const NetworkAnswer& answer, const Trellis::PictureHeader& header)
{
    if (answer.error != QNetworkReply::NoError)
        return;
    if (!answer.redirection.isEmpty())
        return warn(answer.url,
                    QStringLiteral("is no picture: it points to %1, which is not followed (status %2); let the server name that "
                                   "address")
                        .arg(answer.redirection.toDisplayString())
                        .arg(answer.status));
    if (header.format.isEmpty())
        warn(answer.url,
             QStringLiteral("is no picture that can be read (%1 bytes, status %2): look at what the address answers in "
                            "a browser")
                 .arg(answer.body.size())
                 .arg(answer.status));
}
}

NetworkAnswer checkedAnswer(const QUrl& url, const HttpAnswer& answer, const NetworkLimits& limits, NetworkContent content)
{
    if (answer.end != End::Whole)
        return unfinishedAnswer(url, answer, limits);
    const Announced announced = announcedBy(answer.body);
    const Trellis::PictureHeader& header = announced.header;
    if (content == NetworkContent::Pictures && !announced.refusedFormat.isEmpty())
        return refusedAnswer(url, QNetworkReply::UnknownContentError,
                             QStringLiteral("a picture of this kind (%1) is not decoded; let the server send PNG or JPEG")
                                 .arg(QString::fromLatin1(announced.refusedFormat)));
    if (!header.excess.isEmpty())
        return refusedAnswer(url, QNetworkReply::UnknownContentError,
                             QStringLiteral("the picture is not decoded: %1").arg(header.excess));
    const QSize size = header.size;
    if (std::max(size.width(), size.height()) > limits.largestPicturePx)
        return refusedAnswer(url, QNetworkReply::UnknownContentError,
                             QStringLiteral("the picture has %1 × %2 pixels, and more than %3 × %3 are not decoded")
                                 .arg(size.width())
                                 .arg(size.height())
                                 .arg(limits.largestPicturePx));
    const bool isShown = content == NetworkContent::Pictures && !size.isEmpty();
    if (const QString folder = QDir::tempPath(); isShown && !hasRoomFor(size, folder))
        return refusedAnswer(url, QNetworkReply::UnknownContentError,
                             QStringLiteral("there is no room to keep the picture in %1; make room on that disk").arg(folder));
    NetworkAnswer result;
    result.url = url;
    result.status = answer.status;
    result.reason = QString::fromLatin1(answer.reason);
    result.headers = answer.headers;
    result.body = answer.body;
    result.error = errorOfStatus(answer.status);
    if (result.error == QNetworkReply::AuthenticationRequiredError)
        result.errorText = QStringLiteral("Host requires authentication");
    else if (result.error != QNetworkReply::NoError)
        result.errorText = QStringLiteral("Error transferring %1 - server replied: %2").arg(url.toString(), result.reason);
    if (isRedirection(answer.status))
        result.redirection = QUrl(QString::fromUtf8(answer.header("Location")));
    if (content == NetworkContent::Pictures)
        warnOfNoPicture(result, header);
    return result;
}

NetworkAnswer refusedAnswer(const QUrl& url, QNetworkReply::NetworkError error, const QString& why)
{
    warn(url, QStringLiteral("was not loaded: %1").arg(why));
    return failedAnswer(url, error, why);
}
}
