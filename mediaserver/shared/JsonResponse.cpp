#include "JsonResponse.hpp"

#include <QJsonDocument>
#include <QJsonObject>

namespace MediaServer
{

Http::Response jsonResponse(int status, const QJsonObject& object)
{
    Http::Response response;
    response.status = status;
    response.contentType = "application/json";
    response.body = QJsonDocument(object).toJson(QJsonDocument::Compact);
    response.addHeader("Cache-Control", "no-store");
    return response;
}

} // namespace MediaServer
