#include "Options.hpp"

#include <Bedrock/LogText.hpp>

#include <CLI/CLI.hpp>

#include <QFileInfo>
#include <QUrl>

#include <optional>
#include <string>
#include <vector>

namespace MediaServer
{

namespace
{

// Beyond this an address no longer fits a QR code that a phone reads from a table.
constexpr int kLongestPublicUrl = 500;
constexpr int kUsageError = 2;
constexpr std::size_t kHelpColumn = 28;

/// One option of the command line, each of which takes a value.
struct Option
{
    const char* name; ///< "--port"
    const char* valueName;
    const char* help; ///< with "%1" for the default
    /// The default, as it would be written; null for an option whose help names none.
    QString (*defaultValue)(const Options& options);
    /// Stores the value. Returns what is wrong with it, to stand after the option's name; empty when it makes sense. Numbers are
    /// read here and not by the library, which takes "010" for eight and "nan" for a number within any bounds.
    QString (*read)(const QString& value, Options& options);
};

tl::unexpected<Options::Exit> usageError(const QString& text)
{
    const std::string line = Bedrock::onOneLine(Bedrock::withoutSecrets(text.toStdString()));
    return tl::unexpected(
        Options::Exit{kUsageError, QStringLiteral("tavola-mediaserver: %1\nTry --help.\n").arg(QString::fromStdString(line))});
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

QString readAddress(const QString& text, Http::Address& address)
{
    const auto parsed = Http::Address::parse(text);
    if (!parsed)
        return QStringLiteral("has to be a numeric address with a port, such as 127.0.0.1:8090 or [::1]:8090, or unix:/PATH.");
    address = *parsed;
    return {};
}

bool isPublicUrl(const QString& text)
{
    const QUrl url(text, QUrl::StrictMode);
    return text.size() <= kLongestPublicUrl && url.isValid() && !url.host().isEmpty() && !url.hasQuery() && !url.hasFragment()
        && (url.scheme() == QLatin1String("http") || url.scheme() == QLatin1String("https"));
}

const Option kOptions[] = {
    {"--pages", "ADDRESS:PORT",
     "Visitors' door: show pages and their files here (default %1).\n0.0.0.0:8090 is everywhere; then --public-url is needed.",
     [](const Options& options) { return options.pages.toString(); },
     [](const QString& value, Options& options) { return readAddress(value, options.pages); }},
    {"--commands", "ADDRESS:PORT",
     "Tables' door: take commands here (default %1). Also unix:/PATH, a\nUnix socket of this user. Other machines need "
     "--command-key.",
     [](const Options& options) { return options.commands.toString(); },
     [](const QString& value, Options& options) { return readAddress(value, options.commands); }},
    {"--command-key", "FILE",
     "Take commands only with a key of this file (0600), one or two lines\nof 128 bits or more: openssl rand -hex 32. Read again "
     "on SIGHUP.",
     nullptr,
     [](const QString& value, Options& options) {
         options.commandKeyFile = value;
         return value.isEmpty() ? QStringLiteral("has to be a file.") : QString();
     }},
    {"--content", "DIR",
     "The folder with the files that visitors can keep. Only files directly\nin it are shown, no links and no hidden ones. "
     "Needed.",
     nullptr,
     [](const QString& value, Options& options) {
         options.contentFolder = value;
         return value.isEmpty() || QFileInfo(value).isDir() ? QString() : QStringLiteral("\"%1\" is not a folder.").arg(value);
     }},
    {"--database", "DATABASE",
     "The SQLite file with people's items, made when it is missing, or\npostgres://USER@HOST/DATABASE. Needed.", nullptr,
     [](const QString& value, Options& options) {
         options.database = value;
         return QString();
     }},
    {"--import", "FILE",
     "Serve nothing: copy the pages of this SQLite file, of an earlier\n--database, into the database, and end.", nullptr,
     [](const QString& value, Options& options) {
         options.importFile = value;
         return value.isEmpty() ? QStringLiteral("has to be a file.") : QString();
     }},
    {"--site", "FILE",
     "How pages present the venue: the \"page\" object of this JSON file,\nfor example the table's presentation.json.", nullptr,
     [](const QString& value, Options& options) {
         options.siteFile = value;
         return value.isEmpty() ? QStringLiteral("has to be a file.") : QString();
     }},
    {"--public-url", "URL",
     "Where visitors reach their pages, for the addresses and QR codes of\npages (default: the address of --pages).", nullptr,
     [](const QString& value, Options& options) {
         options.publicUrl = value;
         return isPublicUrl(value) ? QString()
                                   : QStringLiteral("has to be an address that begins with http:// or https://, without "
                                                    "\"?\" and \"#\" and not longer than %1 characters.")
                                         .arg(kLongestPublicUrl);
     }},
    {"--max-body", "BYTES", "Refuse requests with more bytes than this (default %1).",
     [](const Options& options) { return QString::number(options.limits.bodyBytes); },
     [](const QString& value, Options& options) {
         const auto bytes = wholeBetween(value, 256, 64 * 1024 * 1024);
         if (!bytes)
             return QStringLiteral("has to be a number of bytes from 256 to 67108864.");
         options.limits.bodyBytes = static_cast<std::size_t>(*bytes);
         return QString();
     }},
    {"--max-content", "MB", "Take files from tables up to this many megabytes (default %1).",
     [](const Options& options) { return QString::number(options.contentBytes >> 20); },
     [](const QString& value, Options& options) {
         const auto megabytes = wholeBetween(value, 1, 1024 * 1024);
         if (!megabytes)
             return QStringLiteral("has to be a number of megabytes from 1 to 1048576.");
         options.contentBytes = qint64(*megabytes) << 20;
         return QString();
     }},
    {"--timeout", "SECONDS", "Seconds a request may take to arrive, and an answer to make progress (default %1).",
     [](const Options& options) { return QString::number(static_cast<double>(options.limits.timeout.count()) / 1000.0); },
     [](const QString& value, Options& options) {
         const auto seconds = numberBetween(value, 0.1, 3600);
         if (!seconds)
             return QStringLiteral("has to be a number of seconds from 0.1 to 3600.");
         options.limits.timeout = std::chrono::milliseconds(static_cast<qint64>(*seconds * 1000));
         return QString();
     }},
    {"--max-per-address", "NUMBER",
     "Connections from one address (default %1); this machine may have any\nnumber. Give more where visitors come through a "
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

/// Options of former versions, which had one door.
constexpr const char* kFormerOptions[] = {"--address", "--port"};

void refuseFormer(CLI::App& app, const char* name)
{
    const auto refuse = [name](const std::string&) {
        throw CLI::ValidationError(std::string(name)
                                       + " is no option any more: write --pages ADDRESS:PORT for visitors' pages and --commands "
                                         "ADDRESS:PORT for tables.",
                                   CLI::ExitCodes::ValidationError);
    };
    app.add_option_function<std::string>(name, refuse)->expected(0, 1)->group(""); // not in the help
}

/// The option that a value is missing for; the library's message begins with its name.
QString optionOf(const CLI::ArgumentMismatch& error)
{
    return QString::fromUtf8(error.what()).section(QLatin1Char(':'), 0, 0);
}

void add(CLI::App& app, const Option& option, Options& options)
{
    const auto read = [&option, &options](const std::string& value) {
        const QString wrong = option.read(QString::fromStdString(value), options);
        if (!wrong.isEmpty())
            throw CLI::ValidationError(std::string(option.name) + ' ' + wrong.toStdString(), CLI::ExitCodes::ValidationError);
    };
    QString help = QString::fromUtf8(option.help);
    if (option.defaultValue)
        help = help.arg(option.defaultValue(options));
    app.add_option_function<std::string>(option.name, read, help.toStdString())
        ->type_name(option.valueName)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
}

}

tl::expected<Options, Options::Exit> Options::parse(const QStringList& arguments)
{
    Options options;
    CLI::App app("Keeps what visitors saved at the table and shows each of them a page of their own.", "tavola-mediaserver");
    app.get_formatter()->column_width(kHelpColumn);
    app.set_help_flag("-h,--help", "Show this text.");
    for (const Option& option : kOptions)
        add(app, option, options);
    for (const char* name : kFormerOptions)
        refuseFormer(app, name);

    std::vector<std::string> reversed;
    for (int i = arguments.size() - 1; i > 0; --i)
        reversed.push_back(arguments[i].toStdString());
    try {
        app.parse(reversed);
    } catch (const CLI::CallForHelp&) {
        return tl::unexpected(Exit{0, QString::fromStdString(app.help())});
    } catch (const CLI::ArgumentMismatch& error) {
        return usageError(QStringLiteral("a value is missing after %1.").arg(optionOf(error)));
    } catch (const CLI::ParseError& error) {
        return usageError(QString::fromUtf8(error.what()));
    }
    if (options.contentFolder.isEmpty())
        return usageError(QStringLiteral("--content DIR is needed."));
    if (options.database.isEmpty())
        return usageError(QStringLiteral("--database DATABASE is needed."));
    if (options.publicUrl.isEmpty() && (options.pages.isUnspecified() || options.pages.isUnixSocket()))
        return usageError(
            QStringLiteral("--pages %1 is no address for a page: give --public-url.").arg(options.pages.toString()));
    const bool isLocal = options.commands.isLoopback() || options.commands.isUnixSocket();
    if (!isLocal && options.commandKeyFile.isEmpty())
        return usageError(
            QStringLiteral("--commands %1 can be reached from other machines: give --command-key FILE, or listen on "
                           "127.0.0.1.")
                .arg(options.commands.toString()));
    return options;
}

}
