#include "Options.hpp"

#include <QCommandLineParser>
#include <QFileInfo>
#include <QUrl>

#include <optional>

namespace MediaServer {

namespace {

// Beyond this an address no longer fits a QR code that a phone reads from a table.
constexpr int kLongestPublicUrl = 500;
constexpr int kUsageError = 2;

tl::unexpected<Options::Exit> usageError(const QString& text)
{
    return tl::unexpected(
        Options::Exit { kUsageError, QStringLiteral("tavola-mediaserver: %1\nTry --help.\n").arg(text) });
}

/// The number if it is one and within the bounds.
std::optional<double> numberBetween(const QString& text, double least, double most)
{
    bool isNumber = false;
    const double number = text.toDouble(&isNumber);
    if (!isNumber || !(number >= least && number <= most))
        return std::nullopt;
    return number;
}

std::optional<int> wholeBetween(const QString& text, int least, int most)
{
    bool isNumber = false;
    const int number = text.toInt(&isNumber);
    if (!isNumber || number < least || number > most)
        return std::nullopt;
    return number;
}

bool isPublicUrl(const QString& text)
{
    const QUrl url(text, QUrl::StrictMode);
    return url.isValid() && !url.host().isEmpty() && !url.hasQuery() && !url.hasFragment()
        && (url.scheme() == QLatin1String("http") || url.scheme() == QLatin1String("https"));
}

} // namespace

tl::expected<Options, Options::Exit> Options::parse(const QStringList& arguments)
{
    Options options;
    const QCommandLineOption help({ QStringLiteral("h"), QStringLiteral("help") }, QStringLiteral("Show this text."));
    const QCommandLineOption address(QStringLiteral("address"),
                                     QStringLiteral("Listen on this numeric address (default %1). 0.0.0.0 is everywhere; then "
                                                    "--public-url is needed.")
                                         .arg(options.address),
                                     QStringLiteral("ADDRESS"));
    const QCommandLineOption port(QStringLiteral("port"),
                                  QStringLiteral("Listen on this port (default %1); 0 chooses a free one.").arg(options.port),
                                  QStringLiteral("PORT"));
    const QCommandLineOption content(QStringLiteral("content"),
                                     QStringLiteral("The folder with the files that visitors can keep. Only files directly in it "
                                                    "are shown, no links and no hidden ones. Needed."),
                                     QStringLiteral("DIR"));
    const QCommandLineOption database(QStringLiteral("database"),
                                      QStringLiteral("The SQLite file with people's items, made when it is missing. Needed."),
                                      QStringLiteral("FILE"));
    const QCommandLineOption publicUrl(QStringLiteral("public-url"),
                                       QStringLiteral("Where visitors reach this server, for the addresses and QR codes of pages "
                                                      "(default: the address it listens on)."),
                                       QStringLiteral("URL"));
    const QCommandLineOption maxBody(
        QStringLiteral("max-body"),
        QStringLiteral("Refuse requests with more bytes than this (default %1).").arg(options.limits.bodyBytes),
        QStringLiteral("BYTES"));
    const QCommandLineOption timeout(QStringLiteral("timeout"),
                                     QStringLiteral("Seconds a request may take to arrive, and an answer to make progress "
                                                    "(default %1).")
                                         .arg(static_cast<double>(options.limits.timeout.count()) / 1000.0),
                                     QStringLiteral("SECONDS"));

    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("\nKeeps what visitors saved at the table and shows each of them a page of their own."));
    parser.addOptions({ help, address, port, content, database, publicUrl, maxBody, timeout });
    if (!parser.parse(arguments))
        return usageError(parser.errorText());
    if (parser.isSet(help))
        return tl::unexpected(Exit { 0, parser.helpText() });
    if (!parser.positionalArguments().isEmpty())
        return usageError(QStringLiteral("\"%1\" is not understood.").arg(parser.positionalArguments().first()));

    if (parser.isSet(address))
        options.address = parser.value(address);
    if (parser.isSet(port)) {
        const auto number = wholeBetween(parser.value(port), 0, 65535);
        if (!number)
            return usageError(QStringLiteral("--port has to be a number from 0 to 65535."));
        options.port = static_cast<quint16>(*number);
    }
    options.contentFolder = parser.value(content);
    if (options.contentFolder.isEmpty())
        return usageError(QStringLiteral("--content DIR is needed."));
    if (!QFileInfo(options.contentFolder).isDir())
        return usageError(QStringLiteral("--content \"%1\" is not a folder.").arg(options.contentFolder));
    options.databaseFile = parser.value(database);
    if (options.databaseFile.isEmpty())
        return usageError(QStringLiteral("--database FILE is needed."));
    if (parser.isSet(publicUrl)) {
        options.publicUrl = parser.value(publicUrl);
        if (!isPublicUrl(options.publicUrl) || options.publicUrl.size() > kLongestPublicUrl) {
            return usageError(QStringLiteral("--public-url has to be an address that begins with http:// or https://, without "
                                             "\"?\" and \"#\" and not longer than %1 characters.")
                                  .arg(kLongestPublicUrl));
        }
    }
    if (parser.isSet(maxBody)) {
        const auto bytes = wholeBetween(parser.value(maxBody), 256, 64 * 1024 * 1024);
        if (!bytes)
            return usageError(QStringLiteral("--max-body has to be a number of bytes from 256 to 67108864."));
        options.limits.bodyBytes = static_cast<std::size_t>(*bytes);
    }
    if (parser.isSet(timeout)) {
        const auto seconds = numberBetween(parser.value(timeout), 0.1, 3600);
        if (!seconds)
            return usageError(QStringLiteral("--timeout has to be a number of seconds from 0.1 to 3600."));
        options.limits.timeout = std::chrono::milliseconds(static_cast<qint64>(*seconds * 1000));
    }
    return options;
}

} // namespace MediaServer
