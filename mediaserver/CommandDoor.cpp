#include "CommandDoor.hpp"

#include <QJsonDocument>

namespace MediaServer
{

namespace
{

Http::Response json(int status, const QJsonObject& object)
{
    Http::Response response;
    response.status = status;
    response.contentType = "application/json";
    response.body = QJsonDocument(object).toJson(QJsonDocument::Compact);
    response.addHeader("Cache-Control", "no-store");
    return response;
}

Http::Response refusal(int status, const QString& why)
{
    return json(status, {{QStringLiteral("success"), false}, {QStringLiteral("error"), why}});
}

} // namespace

CommandDoor::CommandDoor(ItemStore& store, const QString& contentFolder, const QString& publicUrl)
    : m_content(contentFolder), m_commands(store, m_content, PageAddresses(publicUrl))
{
}

Http::Response CommandDoor::handle(const Http::Request& request)
{
    if (request.target.split('?').first() != "/")
        return Http::plainResponse(404, "Commands are sent to /. Pages have a door of their own (--pages).\n");
    if (request.method != "POST") {
        Http::Response response =
            Http::plainResponse(405, "Commands are sent by POST. Pages have a door of their own (--pages).\n");
        response.addHeader("Allow", "POST");
        return response;
    }
    // A browser on the tables' network sends what any web page asks it to, and gets round the firewall that keeps others
    // out; but it adds where the page is from. Tables add nothing.
    if (request.hasHeader("Origin")) {
        return refusal(403,
                       QStringLiteral("Commands are taken from tables, not from web pages: the request has an Origin header."));
    }
    if (m_keys && !m_keys->accepts(request)) {
        Http::Response response =
            refusal(401, QStringLiteral("This server takes commands with its key only: give the table the server's key file."));
        response.addHeader("WWW-Authenticate", "Bearer");
        return response;
    }
    const CommandAnswer answer = m_commands.handle(request.body);
    return json(answer.httpStatus, answer.json);
}

} // namespace MediaServer
