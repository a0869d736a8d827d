#include "OpenFiles.hpp"
#include "Options.hpp"
#include "commands/CommandDoor.hpp"
#include "items/ItemStore.hpp"
#include "items/PageExpiry.hpp"
#include "items/PageImport.hpp"
#include "pages/Site.hpp"
#include "shared/Log.hpp"

#include <Bedrock/CommandLineSecrets.hpp>
#include <Bedrock/LogText.hpp>
#include <Bedrock/QtMessages.hpp>
#include <Http/Server.hpp>

#include <QCoreApplication>
#include <QUrl>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <exception>
#include <memory>
#include <optional>
#include <sys/stat.h>
#include <utility>

using MediaServer::CommandDoor;
using MediaServer::connectionsWithinOpenFiles;
using MediaServer::ContentLimits;
using MediaServer::ItemStore;
using MediaServer::logInfo;
using MediaServer::logWarning;
using MediaServer::Options;
using MediaServer::PageExpiry;
using MediaServer::PageImport;
using MediaServer::Site;
using MediaServer::SiteSettings;

namespace
{

/// Of the tables' door, beside those of the visitors'. Tables keep none open, and few venues have more than a dozen.
constexpr std::size_t kCommandConnections = 64;

int fail(const QString& what)
{
    logWarning(what);
    return 1;
}

/// Where visitors reach their pages; writes a warning for the operator when their phones cannot.
QString publicAddress(const Options& options, const QString& listeningAt)
{
    const QString address = options.publicUrl.isEmpty() ? listeningAt : options.publicUrl;
    if (Http::isOnThisMachineOnly(QUrl(address))) {
        logWarning(QStringLiteral("Pages have the address %1, which opens on this machine only and on no visitor's phone: give "
                                  "--public-url with the address under which phones reach it")
                       .arg(address));
    }
    return address;
}

void readKeysAgain(CommandDoor& door, const QString& file)
{
    auto keys = Http::BearerKeys::read(file);
    if (!keys)
        return logWarning(QStringLiteral("The keys stay as they were"), keys.error());
    door.setKeys(std::move(*keys));
    logInfo(QStringLiteral("The keys for commands were read again"));
}

int importPages(const Options& options)
{
    const auto imported = PageImport::run(options.importFile, options.database);
    if (!imported)
        return fail(imported.error());
    std::printf("tavola-mediaserver: %d pages and %d things were imported; %d pages keep the address that they have in the "
                "database already\n",
                imported->people, imported->items, imported->otherAddress);
    return 0;
}

int serve(const Options& options)
{
    const auto store = ItemStore::open(options.database);
    if (!store)
        return fail(store.error());
    const QString advice = PageImport::advice(**store, options.database);
    if (!advice.isEmpty())
        logInfo(advice);
    SiteSettings settings;
    if (!options.siteFile.isEmpty()) {
        auto read = SiteSettings::read(options.siteFile);
        if (!read)
            return fail(read.error());
        settings = std::move(*read);
    }
    PageExpiry expiry(**store, settings.keepDays);
    std::optional<Http::BearerKeys> keys;
    if (!options.commandKeyFile.isEmpty()) {
        auto read = Http::BearerKeys::read(options.commandKeyFile);
        if (!read)
            return fail(read.error());
        keys = std::move(*read);
    }

    Http::Limits pageLimits = options.limits;
    Http::Limits commandLimits = options.limits;
    const auto connections = connectionsWithinOpenFiles(pageLimits.clients.connections + kCommandConnections);
    if (!connections)
        return fail(connections.error());
    commandLimits.clients.connections = std::min(kCommandConnections, *connections / 4);
    pageLimits.clients.connections = *connections - commandLimits.clients.connections;

    Http::Server server;
    std::unique_ptr<Site> site;
    std::unique_ptr<CommandDoor> door;
    const auto pages = server.listen(options.pages, pageLimits, [&](const Http::Request& request, Http::Reply reply) {
        expiry.check();
        site->handle(request, std::move(reply));
    });
    if (!pages)
        return fail(pages.error());
    const auto commands = server.listen(options.commands, commandLimits, [&](const Http::Request& request, Http::Reply reply) {
        expiry.check();
        door->handle(request, std::move(reply));
    });
    if (!commands)
        return fail(commands.error());

    const QString publicUrl = publicAddress(options, pages->url);
    site = std::make_unique<Site>(**store, options.contentFolder, publicUrl, settings);
    const ContentLimits contentLimits{options.contentBytes, static_cast<qint64>(commandLimits.bodyBytes)};
    door = std::make_unique<CommandDoor>(**store, options.contentFolder, publicUrl, contentLimits, server.poster());
    door->setKeys(std::move(keys));
    server.stopOnSignals();
    server.onHangup([&] {
        if (!options.commandKeyFile.isEmpty())
            readKeysAgain(*door, options.commandKeyFile);
    });
    const auto shown = [](const Http::Server::Listening& listening) {
        return Bedrock::onOneLine((listening.url.isEmpty() ? listening.address.toString() : listening.url).toStdString());
    };
    std::printf("tavola-mediaserver: commands on %s\n", shown(*commands).c_str());
    std::printf("tavola-mediaserver: pages on %s\n", shown(*pages).c_str());
    std::fflush(stdout);
    server.run();
    logInfo(QStringLiteral("Stopped"));
    return 0;
}

}

int main(int argc, char* argv[])
{
    // A reader of the log or of a client's answer that goes away costs what is written to it, not the program.
    std::signal(SIGPIPE, SIG_IGN);
    // The database holds the secrets that open people's pages.
    ::umask(0077);
    const Bedrock::QtMessages qtMessages;
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("tavola-mediaserver"));

    const QStringList arguments = QCoreApplication::arguments();
    Bedrock::overwriteCommandLineSecrets(argc, argv);
    const auto options = Options::parse(arguments);
    if (!options) {
        const QByteArray text = options.error().text.toLocal8Bit();
        std::fputs(text.constData(), options.error().code == 0 ? stdout : stderr);
        return options.error().code;
    }
    try {
        return options->importFile.isEmpty() ? serve(*options) : importPages(*options);
    } catch (const std::exception& error) {
        return fail(QStringLiteral("The server ended: %1").arg(QString::fromLocal8Bit(error.what())));
    }
}
