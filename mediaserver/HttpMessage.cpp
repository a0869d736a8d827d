#include "HttpMessage.hpp"

namespace MediaServer
{

HttpResponse plainResponse(int status, const QByteArray& text)
{
    HttpResponse response;
    response.status = status;
    response.contentType = "text/plain; charset=utf-8";
    response.body = text;
    response.addHeader("Cache-Control", "no-store");
    return response;
}

} // namespace MediaServer
