#include "ServerThread.hpp"

#include "ItemStore.hpp"
#include "Site.hpp"

#include <doctest/doctest.h>

#include <future>

using namespace MediaServer;

ServerThread::ServerThread(const Limits& limits, const MakeHandler& makeHandler)
{
    std::promise<HttpServer*> started;
    m_thread = std::thread([&, limits, makeHandler] {
        HttpServer server(limits);
        const auto listening = server.listen(QStringLiteral("127.0.0.1"), 0);
        if (!listening) {
            started.set_value(nullptr);
            return;
        }
        Handler handler = makeHandler(listening->url);
        m_port = listening->port;
        started.set_value(&server);
        server.run(std::move(handler));
    });
    m_server = started.get_future().get();
    if (!m_server)
        m_thread.join();
    REQUIRE(m_server != nullptr);
}

ServerThread::~ServerThread()
{
    stop();
    m_thread.join();
}

void ServerThread::stop()
{
    // The server is there until run() has ended, and that ends by this alone.
    if (m_server)
        m_server->stop();
    m_server = nullptr;
}

ServerThread::MakeHandler siteFrom(const QString& database, const QString& contentFolder)
{
    return [database, contentFolder](const QString& url) -> ServerThread::Handler {
        auto opened = ItemStore::open(database);
        if (!opened)
            return [](const HttpRequest&) { return plainResponse(500, "no database"); };
        std::shared_ptr<ItemStore> store = std::move(*opened);
        auto site = std::make_shared<Site>(*store, contentFolder, url);
        return [store, site](const HttpRequest& request) { return site->handle(request); };
    };
}
