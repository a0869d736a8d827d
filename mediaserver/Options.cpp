#include "Options.hpp"

#include <QCommandLineParser>
#include <QFileInfo>
#include <QUrl>

#include <optional>

namespace MediaServer
{

namespace
{

// Beyond this an address no longer fits a QR code that a phone reads from a table.
constexpr int kLongestPublicUrl = 500;
constexpr int kUsageError = 2;

/// One option of the command line, each of which takes a value.
struct Option
{
    const char* name;
    const char* valueName;
    const char* help; ///< with "%1" for the default
    /// What is used without it, as it would be written; none for an option whose help tells no default.
    QString (*defaultValue)(const Options& options);
    /// Takes the value. What is wrong with it, to stand behind the option's name, or empty when it makes sense.
    QString (*read)(const QString& value, Options& options);
};

tl::unexpected<Options::Exit> usageError(const QString& text)
{
    return tl::unexpected(Options::Exit{kUsageError, QStringLiteral("tavola-mediaserver: %1\nTry --help.\n").arg(text)});
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
    return text.size() <= kLongestPublicUrl && url.isValid() && !url.host().isEmpty() && !url.hasQuery() && !url.hasFragment()
        && (url.scheme() == QLatin1String("http") || url.scheme() == QLatin1String("https"));
}

const Option kOptions[] = {
    {"address", "ADDRESS", "Listen on this numeric address (default %1). 0.0.0.0 is everywhere; then --public-url is needed.",
     [](const Options& options) { return options.address; },
     [](const QString& value, Options& options) {
         options.address = value;
         return QString();
     }},
    {"port", "PORT", "Listen on this port (default %1); 0 chooses a free one.",
     [](const Options& options) { return QString::number(options.port); },
     [](const QString& value, Options& options) {
         const auto number = wholeBetween(value, 0, 65535);
         if (!number)
             return QStringLiteral("has to be a number from 0 to 65535.");
         options.port = static_cast<quint16>(*number);
         return QString();
     }},
    {"content", "DIR",
     "The folder with the files that visitors can keep. Only files directly in it are shown, no links and no hidden ones. "
     "Needed.",
     nullptr,
     [](const QString& value, Options& options) {
         options.contentFolder = value;
         return value.isEmpty() || QFileInfo(value).isDir() ? QString() : QStringLiteral("\"%1\" is not a folder.").arg(value);
     }},
    {"database", "FILE", "The SQLite file with people's items, made when it is missing. Needed.", nullptr,
     [](const QString& value, Options& options) {
         options.databaseFile = value;
         return QString();
     }},
    {"public-url", "URL",
     "Where visitors reach this server, for the addresses and QR codes of pages (default: the address it listens on).", nullptr,
     [](const QString& value, Options& options) {
         options.publicUrl = value;
         return isPublicUrl(value) ? QString()
                                   : QStringLiteral("has to be an address that begins with http:// or https://, without "
                                                    "\"?\" and \"#\" and not longer than %1 characters.")
                                         .arg(kLongestPublicUrl);
     }},
    {"max-body", "BYTES", "Refuse requests with more bytes than this (default %1).",
     [](const Options& options) { return QString::number(options.limits.bodyBytes); },
     [](const QString& value, Options& options) {
         const auto bytes = wholeBetween(value, 256, 64 * 1024 * 1024);
         if (!bytes)
             return QStringLiteral("has to be a number of bytes from 256 to 67108864.");
         options.limits.bodyBytes = static_cast<std::size_t>(*bytes);
         return QString();
     }},
    {"timeout", "SECONDS", "Seconds a request may take to arrive, and an answer to make progress (default %1).",
     [](const Options& options) { return QString::number(static_cast<double>(options.limits.timeout.count()) / 1000.0); },
     [](const QString& value, Options& options) {
         const auto seconds = numberBetween(value, 0.1, 3600);
         if (!seconds)
             return QStringLiteral("has to be a number of seconds from 0.1 to 3600.");
         options.limits.timeout = std::chrono::milliseconds(static_cast<qint64>(*seconds * 1000));
         return QString();
     }},
    {"max-per-address", "NUMBER",
     "Connections from one address (default %1); this machine may have any number. Give more where visitors come through a "
     "proxy on another machine.",
     [](const Options& options) { return QString::number(options.limits.clients.perAddress); },
     [](const QString& value, Options& options) {
         const auto number = wholeBetween(value, 2, 65536);
         if (!number)
             return QStringLiteral("has to be a number of connections from 2 to 65536.");
         options.limits.clients.perAddress = static_cast<std::size_t>(*number);
         return QString();
     }},
};

/// Reads every option that was given.
QString readAll(const QCommandLineParser& parser, Options& options)
{
    for (const Option& option : kOptions) {
        const QString name = QLatin1String(option.name);
        if (!parser.isSet(name))
            continue;
        const QString wrong = option.read(parser.value(name), options);
        if (!wrong.isEmpty())
            return QStringLiteral("--%1 %2").arg(name, wrong);
    }
    if (options.contentFolder.isEmpty())
        return QStringLiteral("--content DIR is needed.");
    if (options.databaseFile.isEmpty())
        return QStringLiteral("--database FILE is needed.");
    return {};
}

} // namespace

tl::expected<Options, Options::Exit> Options::parse(const QStringList& arguments)
{
    Options options;
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("\nKeeps what visitors saved at the table and shows each of them a page of their own."));
    const QCommandLineOption help({QStringLiteral("h"), QStringLiteral("help")}, QStringLiteral("Show this text."));
    parser.addOption(help);
    for (const Option& option : kOptions) {
        QString text = QLatin1String(option.help);
        if (option.defaultValue)
            text = text.arg(option.defaultValue(options));
        parser.addOption({QLatin1String(option.name), text, QLatin1String(option.valueName)});
    }

    if (!parser.parse(arguments))
        return usageError(parser.errorText());
    if (parser.isSet(help))
        return tl::unexpected(Exit{0, parser.helpText()});
    if (!parser.positionalArguments().isEmpty())
        return usageError(QStringLiteral("\"%1\" is not understood.").arg(parser.positionalArguments().first()));
    const QString wrong = readAll(parser, options);
    if (!wrong.isEmpty())
        return usageError(wrong);
    return options;
}

} // namespace MediaServer
