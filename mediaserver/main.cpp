#include "ItemStore.hpp"
#include "Log.hpp"
#include "OpenFiles.hpp"
#include "Options.hpp"
#include "Site.hpp"

#include <Http/Server.hpp>

#include <QCoreApplication>

#include <csignal>
#include <cstdio>
#include <exception>
#include <memory>
#include <sys/stat.h>

using MediaServer::connectionsWithinOpenFiles;
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

    Http::Limits limits = options.limits;
    const auto connections = connectionsWithinOpenFiles(limits.clients.connections);
    if (!connections)
        return fail(connections.error());
    limits.clients.connections = *connections;
    Http::Server server;
    std::unique_ptr<Site> site;
    const QString host =
        options.address.contains(QLatin1Char(':')) ? QStringLiteral("[%1]").arg(options.address) : options.address;
    const auto parsed = Http::Address::parse(QStringLiteral("%1:%2").arg(host).arg(options.port));
    if (!parsed)
        return fail(QStringLiteral("\"%1\" is not a numeric address such as 127.0.0.1 or ::1").arg(options.address));
    const Http::Address& address = *parsed;
    const auto listening = server.listen(
        address, limits, [&site](const Http::Request& request, Http::Reply reply) { reply.send(site->handle(request)); });
    if (!listening)
        return fail(listening.error());
    if (address.isUnspecified() && options.publicUrl.isEmpty()) {
        return fail(QStringLiteral("--address %1 listens everywhere, which is no address for a page: give --public-url")
                        .arg(options.address));
    }

    site =
        std::make_unique<Site>(**store, options.contentFolder, options.publicUrl.isEmpty() ? listening->url : options.publicUrl);
    server.stopOnSignals();
    std::printf("tavola-mediaserver: listening on %s\n", qPrintable(listening->url));
    std::fflush(stdout);
    server.run();
    logInfo(QStringLiteral("Stopped"));
    return 0;
}

} // namespace

int main(int argc, char* argv[])
{
    // A reader of the log or of a client's answer that goes away costs what is written to it, not the program.
    std::signal(SIGPIPE, SIG_IGN);
    // The database holds the secrets that open people's pages.
    ::umask(0077);
    qInstallMessageHandler(MediaServer::logQtMessage);
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
