#include "HttpServer.hpp"
#include "ItemStore.hpp"
#include "Log.hpp"
#include "OpenFiles.hpp"
#include "Options.hpp"
#include "Site.hpp"

#include <QCoreApplication>

#include <cstdio>
#include <exception>
#include <sys/stat.h>

using MediaServer::connectionsWithinOpenFiles;
using MediaServer::HttpLimits;
using MediaServer::HttpRequest;
using MediaServer::HttpServer;
using MediaServer::ItemStore;
using MediaServer::logInfo;
using MediaServer::logWarning;
using MediaServer::Options;
using MediaServer::Site;

namespace
{

int fail(const QString& what)
{
    logWarning(what);
    return 1;
}

int serve(const Options& options)
{
    const auto store = ItemStore::open(options.databaseFile);
    if (!store)
        return fail(store.error());

    HttpLimits limits = options.limits;
    const auto connections = connectionsWithinOpenFiles(limits.clients.connections);
    if (!connections)
        return fail(connections.error());
    limits.clients.connections = *connections;
    HttpServer server(limits);
    const auto listening = server.listen(options.address, options.port);
    if (!listening)
        return fail(listening.error());
    if (listening->everywhere && options.publicUrl.isEmpty()) {
        return fail(QStringLiteral("--address %1 listens everywhere, which is no address for a page: give --public-url")
                        .arg(options.address));
    }

    Site site(**store, options.contentFolder, options.publicUrl.isEmpty() ? listening->url : options.publicUrl);
    server.stopOnSignals();
    std::printf("tavola-mediaserver: listening on %s\n", qPrintable(listening->url));
    std::fflush(stdout);
    server.run([&site](const HttpRequest& request) { return site.handle(request); });
    logInfo(QStringLiteral("Stopped"));
    return 0;
}

} // namespace

int main(int argc, char* argv[])
{
    // The database holds the secrets that open people's pages.
    ::umask(0077);
    qInstallMessageHandler(MediaServer::writeToStandardError);
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("tavola-mediaserver"));

    const auto options = Options::parse(QCoreApplication::arguments());
    if (!options) {
        const QByteArray text = options.error().text.toLocal8Bit();
        std::fputs(text.constData(), options.error().code == 0 ? stdout : stderr);
        return options.error().code;
    }
    try {
        return serve(*options);
    } catch (const std::exception& error) {
        return fail(QStringLiteral("The server ended: %1").arg(QString::fromLocal8Bit(error.what())));
    }
}
