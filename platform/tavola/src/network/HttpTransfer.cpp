#include "network/HttpTransfer.hpp"

#include <cmath>
#include <system_error>
#include <utility>

namespace Tavola
{
namespace
{
bool hasBody(const QByteArray& method)
{
    return method != "GET" && method != "HEAD";
}
}

HttpTransfer::HttpTransfer(HttpRequest request, HttpClient::Done doneToCall)
    : done(std::move(doneToCall)), m_request(std::move(request))
{
}

CURL* HttpTransfer::begin()
{
    m_handle.reset(curl().curl_easy_init());
    CURL* const handle = m_handle.get();
    curl().curl_easy_setopt(handle, CURLOPT_URL, m_request.url.toEncoded(QUrl::RemoveFragment).constData());
    curl().curl_easy_setopt(handle, CURLOPT_PROTOCOLS_STR, "http,https");
    curl().curl_easy_setopt(handle, CURLOPT_PROXY, "");
    curl().curl_easy_setopt(handle, CURLOPT_NOSIGNAL, 1L);
    curl().curl_easy_setopt(handle, CURLOPT_HTTP_VERSION, long(CURL_HTTP_VERSION_1_1));
    // A request on a kept connection would be sent again when the server closes it just then.
    curl().curl_easy_setopt(handle, CURLOPT_FRESH_CONNECT, 1L);
    curl().curl_easy_setopt(handle, CURLOPT_FORBID_REUSE, 1L);
    curl().curl_easy_setopt(handle, CURLOPT_FOLLOWLOCATION, 0L);
    curl().curl_easy_setopt(handle, CURLOPT_TIMEOUT_MS, long(std::ceil(m_request.timeoutSeconds * 1000.0)));
    // The end of the client waits for no name server.
    curl().curl_easy_setopt(handle, CURLOPT_QUICK_EXIT, 1L);
    curl().curl_easy_setopt(handle, CURLOPT_SSLVERSION, long(CURL_SSLVERSION_TLSv1_2));
    curl().curl_easy_setopt(handle, CURLOPT_USERAGENT, "tavola");
    curl().curl_easy_setopt(handle, CURLOPT_ERRORBUFFER, m_detail);
    curl().curl_easy_setopt(handle, CURLOPT_HEADERFUNCTION, onHead);
    curl().curl_easy_setopt(handle, CURLOPT_HEADERDATA, this);
    curl().curl_easy_setopt(handle, CURLOPT_WRITEFUNCTION, onBody);
    curl().curl_easy_setopt(handle, CURLOPT_WRITEDATA, this);

    const auto add = [this](const QByteArray& line) {
        m_headers.reset(curl().curl_slist_append(m_headers.release(), line.constData()));
    };
    for (const auto& header : qAsConst(m_request.headers))
        add(header.first + ": " + header.second);
    add("Accept-Encoding: identity"); // nothing is decompressed
    add("Expect:");                   // the body is sent at once
    curl().curl_easy_setopt(handle, CURLOPT_HTTPHEADER, m_headers.get());
    if (hasBody(m_request.method)) {
        curl().curl_easy_setopt(handle, CURLOPT_POST, 1L);
        curl().curl_easy_setopt(handle, CURLOPT_POSTFIELDSIZE_LARGE, curl_off_t(m_request.body.size()));
        curl().curl_easy_setopt(handle, CURLOPT_POSTFIELDS, m_request.body.constData());
    }
    if (m_request.method == "HEAD")
        curl().curl_easy_setopt(handle, CURLOPT_NOBODY, 1L);
    else if (m_request.method != "GET" && m_request.method != "POST")
        curl().curl_easy_setopt(handle, CURLOPT_CUSTOMREQUEST, m_request.method.constData());
    return handle;
}

std::size_t HttpTransfer::onHead(char* data, std::size_t size, std::size_t count, void* user)
{
    auto& transfer = *static_cast<HttpTransfer*>(user);
    return transfer.readHeadLine(QByteArray(data, int(size * count))) ? size * count : 0;
}

bool HttpTransfer::readHeadLine(const QByteArray& line)
{
    m_headBytes += line.size();
    if (m_headBytes > HttpClient::kLargestHeadBytes)
        return false;
    const QByteArray text = line.trimmed();
    if (text.isEmpty()) {
        m_hasWholeHead = true;
    } else if (line.startsWith("HTTP/")) { // of an interim answer, or of the answer after it
        m_hasWholeHead = false;
        m_answer.headers.clear();
        const QList<QByteArray> words = text.split(' ');
        m_answer.reason = words.mid(2).join(' ');
    } else if (!m_hasWholeHead) { // a trailer counts, and has no use
        const int colon = text.indexOf(':');
        if (colon > 0)
            m_answer.headers.append({text.left(colon), text.mid(colon + 1).trimmed()});
    }
    return true;
}

std::size_t HttpTransfer::onBody(char* data, std::size_t size, std::size_t count, void* user)
{
    auto& transfer = *static_cast<HttpTransfer*>(user);
    const auto bytes = qint64(size * count);
    if (transfer.m_answer.body.size() + bytes > transfer.m_request.largestBodyBytes)
        return 0;
    transfer.m_answer.body.append(data, int(bytes));
    return size * count;
}

void HttpTransfer::finish(CURLcode code)
{
    long status = 0;
    curl().curl_easy_getinfo(m_handle.get(), CURLINFO_RESPONSE_CODE, &status);
    HttpAnswer::End end = endOf(code);
    // The library takes a head that is cut off for a whole one.
    if (end == HttpAnswer::End::Whole && !m_hasWholeHead)
        end = HttpAnswer::End::Cut;
    if (end == HttpAnswer::End::Whole) {
        m_answer.status = int(status);
    } else {
        m_answer = {};
        m_answer.end = end;
        if (end == HttpAnswer::End::Unreachable || end == HttpAnswer::End::NotTrusted)
            m_answer.detail = QString::fromLocal8Bit(m_detail[0] ? m_detail : curl().curl_easy_strerror(code));
        long reason = 0;
        if (code == CURLE_COULDNT_CONNECT && curl().curl_easy_getinfo(m_handle.get(), CURLINFO_OS_ERRNO, &reason) == CURLE_OK
            && reason)
            m_answer.detail = QString::fromStdString(std::generic_category().message(int(reason)));
        if (code == CURLE_COULDNT_RESOLVE_HOST)
            m_answer.detail = QStringLiteral("Host %1 not found").arg(m_request.url.host());
    }
    m_handle.reset();
    m_headers.reset();
}

void HttpTransfer::fail(const QString& reason)
{
    m_answer = {};
    m_answer.end = HttpAnswer::End::Unreachable;
    m_answer.detail = reason;
}

HttpAnswer::End HttpTransfer::endOf(CURLcode code)
{
    using End = HttpAnswer::End;
    switch (code) {
    case CURLE_OK: return End::Whole;
    case CURLE_OPERATION_TIMEDOUT: return End::Late;
    case CURLE_WRITE_ERROR: return m_headBytes > HttpClient::kLargestHeadBytes ? End::HeadTooLong : End::BodyTooLong;
    // What the library says of a single line of more than 100 KB.
    case CURLE_OUT_OF_MEMORY: return End::HeadTooLong;
    case CURLE_GOT_NOTHING:
    case CURLE_PARTIAL_FILE:
    case CURLE_SEND_ERROR:
    case CURLE_RECV_ERROR: return End::Cut;
    case CURLE_UNSUPPORTED_PROTOCOL: // "HTTP/0.9": an answer without a head
    case CURLE_WEIRD_SERVER_REPLY: return End::NoHttp;
    case CURLE_SSL_CONNECT_ERROR:
    case CURLE_SSL_CERTPROBLEM:
    case CURLE_SSL_CACERT_BADFILE:
    case CURLE_PEER_FAILED_VERIFICATION: return End::NotTrusted;
    default: return End::Unreachable;
    }
}
}
