#include "JsonResponse.hpp"

namespace MediaServer
{

Http::Response jsonResponse(int status, const QByteArray& json)
{
    Http::Response response;
    response.status = status;
    response.contentType = QByteArrayLiteral("application/json");
    response.body = json;
    response.addHeader(QByteArrayLiteral("Cache-Control"), QByteArrayLiteral("no-store"));
    return response;
}

}
