#include "services/content/ContentSender.hpp"

#include <Tavola/Curl.hpp>

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <memory>
#include <optional>
#include <stdexcept>

namespace Host
{
namespace
{
using Tavola::curl;

constexpr std::size_t kLargestAnswerBytes = 64 * 1024;
constexpr qint64 kLargestPieceBytes = 1 << 20;

std::size_t keepAnswer(char* data, std::size_t size, std::size_t count, void* user)
{
    auto& answer = *static_cast<QByteArray*>(user);
    const std::size_t bytes = size * count;
    if (static_cast<std::size_t>(answer.size()) + bytes > kLargestAnswerBytes)
        return 0; // ends the transfer
    answer.append(data, static_cast<int>(bytes));
    return bytes;
}

int onProgress(void* user, curl_off_t, curl_off_t, curl_off_t, curl_off_t)
{
    return static_cast<const std::atomic<bool>*>(user)->load() ? 1 : 0;
}

/// The bytes of the file from `from` on, `most` at most; nothing when the file is not what was collected.
std::optional<QByteArray> readPiece(const ContentNote& note, qint64 from, qint64 most)
{
    QFile file(note.path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered) || file.size() != note.size || !file.seek(from))
        return std::nullopt;
    const qint64 wanted = std::min(most, note.size - from);
    QByteArray piece = file.read(wanted);
    return piece.size() == wanted ? std::optional<QByteArray>(std::move(piece)) : std::nullopt;
}
}

struct ContentSender::Answer
{
    long status = 0; ///< 0: none came
    QJsonObject json;
    QString reason; ///< why none came, or what the server says about a failure
};

ContentSender::ContentSender(const QUrl& address, const QByteArray& key, double timeoutSeconds)
    : m_address(address.adjusted(QUrl::RemoveUserInfo)), m_timeoutMs(static_cast<long>(timeoutSeconds * 1000.0))
{
    const QString credentials = address.userName(QUrl::FullyDecoded) + QLatin1Char(':') + address.password(QUrl::FullyDecoded);
    if (!key.isEmpty())
        m_authorization = "Authorization: Bearer " + key;
    else if (credentials.size() > 1)
        m_authorization = "Authorization: Basic " + credentials.toUtf8().toBase64();
}

QByteArray ContentSender::addressOf(const ContentNote& note, qint64 from) const
{
    const QByteArray base = m_address.toEncoded(QUrl::RemoveQuery | QUrl::RemoveFragment);
    return base + (base.endsWith('/') ? "content/" : "/content/") + QUrl::toPercentEncoding(note.name) + "?sha256=" + note.sha256
        + "&size=" + QByteArray::number(note.size) + "&from=" + QByteArray::number(from);
}

ContentSender::Answer ContentSender::ask(const char* method, const ContentNote& note, qint64 from, const QByteArray& piece,
                                         const std::atomic<bool>& isStopped) const
{
    const std::unique_ptr<CURL, Tavola::CurlDelete> owned(curl().curl_easy_init());
    CURL* const handle = owned.get();
    std::unique_ptr<curl_slist, Tavola::CurlDelete> headers;
    // No "100 Continue" is waited for, and a piece is of no type of its own.
    for (const QByteArray& line : {QByteArray("Expect:"), QByteArray("Content-Type: application/octet-stream"), m_authorization})
        if (!line.isEmpty())
            headers.reset(curl().curl_slist_append(headers.release(), line.constData()));
    QByteArray body;
    char detail[CURL_ERROR_SIZE] = "";
    curl().curl_easy_setopt(handle, CURLOPT_URL, addressOf(note, from).constData());
    curl().curl_easy_setopt(handle, CURLOPT_PROTOCOLS_STR, "http,https");
    curl().curl_easy_setopt(handle, CURLOPT_PROXY, "");
    curl().curl_easy_setopt(handle, CURLOPT_NOSIGNAL, 1L);
    curl().curl_easy_setopt(handle, CURLOPT_TIMEOUT_MS, m_timeoutMs);
    curl().curl_easy_setopt(handle, CURLOPT_CONNECTTIMEOUT_MS, m_timeoutMs);
    curl().curl_easy_setopt(handle, CURLOPT_HTTPHEADER, headers.get());
    curl().curl_easy_setopt(handle, CURLOPT_CUSTOMREQUEST, method);
    if (qstrcmp(method, "PUT") == 0) {
        curl().curl_easy_setopt(handle, CURLOPT_POSTFIELDS, piece.constData());
        curl().curl_easy_setopt(handle, CURLOPT_POSTFIELDSIZE, long(piece.size()));
    }
    curl().curl_easy_setopt(handle, CURLOPT_WRITEFUNCTION, keepAnswer);
    curl().curl_easy_setopt(handle, CURLOPT_WRITEDATA, &body);
    curl().curl_easy_setopt(handle, CURLOPT_ERRORBUFFER, detail);
    curl().curl_easy_setopt(handle, CURLOPT_NOPROGRESS, 0L);
    curl().curl_easy_setopt(handle, CURLOPT_XFERINFOFUNCTION, onProgress);
    curl().curl_easy_setopt(handle, CURLOPT_XFERINFODATA, &isStopped);

    Answer answer;
    const CURLcode code = curl().curl_easy_perform(handle);
    if (code != CURLE_OK) {
        answer.reason = QString::fromLocal8Bit(*detail ? detail : curl().curl_easy_strerror(code));
        return answer;
    }
    curl().curl_easy_getinfo(handle, CURLINFO_RESPONSE_CODE, &answer.status);
    answer.json = QJsonDocument::fromJson(body).object();
    answer.reason = answer.json.value(QLatin1String("error")).toString();
    if (answer.reason.isEmpty())
        answer.reason = QStringLiteral("the server answered with status %1").arg(answer.status);
    return answer;
}

ContentSender::Result ContentSender::send(const ContentNote& note, const std::atomic<bool>& isStopped) const
{
    try {
        static_cast<void>(curl());
    } catch (const std::runtime_error& fault) {
        return {Outcome::Later, QString::fromLocal8Bit(fault.what())};
    }
    Answer answer = ask("GET", note, 0, {}, isStopped);
    for (qint64 before = -1;;) {
        if (answer.status == 404)
            return {Outcome::NotWanted, answer.reason};
        if (answer.status == 400 || answer.status == 409 || answer.status == 422)
            return {Outcome::Refused, answer.reason};
        if (answer.status != 200)
            return {Outcome::Later, answer.reason};
        const QString state = answer.json.value(QLatin1String("state")).toString();
        if (state == QLatin1String("there"))
            return {Outcome::Sent};
        const auto received = static_cast<qint64>(answer.json.value(QLatin1String("received")).toDouble(-1));
        const auto most = static_cast<qint64>(answer.json.value(QLatin1String("piece")).toDouble(0));
        if (state != QLatin1String("coming") || received <= before || received > note.size || most < 1)
            return {Outcome::Later, QStringLiteral("the server's answer makes no sense")};
        const auto piece = readPiece(note, received, std::min(most, kLargestPieceBytes));
        if (!piece)
            return {Outcome::Refused, QStringLiteral("%1 is not what was collected any more").arg(note.path)};
        before = received;
        answer = ask("PUT", note, received, *piece, isStopped);
    }
}
}
