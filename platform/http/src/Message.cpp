#include "Http/Message.hpp"

#include <sys/stat.h>
#include <unistd.h>

namespace Http
{
namespace
{
/// "127.0.0.1:8080", "localhost", "[::1]:8080".
bool isThisMachine(QByteArray host)
{
    const int port = host.lastIndexOf(':');
    if (port >= 0 && !host.endsWith(']'))
        host.truncate(port);
    return host == "127.0.0.1" || host == "localhost" || host == "[::1]";
}
}

File& File::operator=(File&& other) noexcept
{
    if (this != &other) {
        if (m_descriptor >= 0)
            ::close(m_descriptor);
        m_descriptor = other.release();
    }
    return *this;
}

File::~File()
{
    if (m_descriptor >= 0)
        ::close(m_descriptor);
}

qint64 File::size() const
{
    struct stat status;
    return ::fstat(m_descriptor, &status) == 0 ? static_cast<qint64>(status.st_size) : -1;
}

int File::release()
{
    return std::exchange(m_descriptor, -1);
}

QByteArray Request::header(const char* name) const
{
    for (const auto& [key, value] : headers) {
        if (qstricmp(key.constData(), name) == 0) {
            const QByteArray text = value.trimmed();
            return text.isNull() ? QByteArray("") : text;
        }
    }
    return {};
}

Response plainResponse(int status, const QByteArray& text)
{
    Response response;
    response.status = status;
    response.contentType = QByteArrayLiteral("text/plain; charset=utf-8");
    response.body = text;
    response.addHeader(QByteArrayLiteral("Cache-Control"), QByteArrayLiteral("no-store"));
    return response;
}

bool comesFromThisMachine(const Request& request)
{
    if (!isThisMachine(request.header("Host")) || request.header("Sec-Fetch-Site").toLower() == "cross-site")
        return false;
    const QByteArray origin = request.header("Origin");
    const int host = origin.indexOf("://");
    return origin.isEmpty() || (host >= 0 && isThisMachine(origin.mid(host + 3)));
}
}
