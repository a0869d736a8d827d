#include "CommandDoor.hpp"

#include "shared/JsonResponse.hpp"
#include "shared/JsonText.hpp"

#include <cstring>

namespace MediaServer
{

namespace
{

constexpr char kContentPath[] = "/content/";

Http::Response refusal(int status, const QString& why)
{
    return jsonResponse(status, JsonText().addText("error", why).addFlag("success", false).end());
}

}

CommandDoor::CommandDoor(ItemStore& store, const QString& contentFolder, const QString& publicUrl, const ContentLimits& limits,
                         const CommandHandler::Post& post)
    : m_content(contentFolder), m_receiver(store, m_content, contentFolder, limits),
      m_commands(store, m_content, &m_receiver, PageAddresses(publicUrl)), m_post(post)
{
}

void CommandDoor::handle(const Http::Request& request, Http::Reply reply)
{
    if (auto refused = refuse(request))
        return reply.send(*std::move(refused));
    if (request.target.startsWith(kContentPath))
        return m_receiver.handle(request, request.target.mid(int(std::strlen(kContentPath))), std::move(reply));
    const auto shared = std::make_shared<Http::Reply>(std::move(reply));
    const auto done = [this, shared, body = request.body](const CommandAnswer& answer) {
        if (answer.unreadFile.isEmpty())
            return shared->send(jsonResponse(answer.httpStatus, answer.json));
        m_receiver.hashes().read(answer.unreadFile,
                                 [this, shared, body, file = answer.unreadFile] { handleAgain(body, file, shared); });
    };
    m_commands.handle(request.body, m_post, done, request.header("Accept-Language"));
}

void CommandDoor::handleAgain(const QByteArray& body, const QString& file, const std::shared_ptr<Http::Reply>& reply)
{
    m_commands.handle(body, m_post, [file, reply](const CommandAnswer& answer) {
        if (answer.unreadFile.isEmpty())
            return reply->send(jsonResponse(answer.httpStatus, answer.json));
        reply->send(refusal(500, QStringLiteral("\"%1\" cannot be read at the moment. Try again later.").arg(file)));
    });
}

std::optional<Http::Response> CommandDoor::refuse(const Http::Request& request) const
{
    const bool isContent = request.target.startsWith(kContentPath);
    if (!isContent && request.target != "/" && !request.target.startsWith("/?"))
        return Http::plainResponse(404, "Commands are sent to /. Pages have a door of their own (--pages).\n");
    if (!isContent && request.method != "POST") {
        Http::Response response =
            Http::plainResponse(405, "Commands are sent by POST. Pages have a door of their own (--pages).\n");
        response.addHeader("Allow", "POST");
        return response;
    }
    // A browser on the tables' network sends what any web page asks it to, and gets round the firewall that keeps others
    // out; but it adds where the page is from. Tables add nothing.
    for (const char* header : {"Origin", "Sec-Fetch-Site"}) {
        if (request.hasHeader(header))
            return refusal(403,
                           QStringLiteral("Commands are taken from tables, not from web pages: the request has an %1 header.")
                               .arg(QLatin1String(header)));
    }
    if (m_keys && !m_keys->accepts(request)) {
        Http::Response response =
            refusal(401, QStringLiteral("This server takes commands with its key only: give the table the server's key file."));
        response.addHeader("WWW-Authenticate", "Bearer");
        return response;
    }
    return std::nullopt;
}

}
