#include "MailSettings.hpp"

#include "../MailAddress.hpp"
#include "../PeopleFile.hpp"

#include <Bedrock/BoundedFile.hpp>
#include <Tavola/JsonEntries.hpp>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHostAddress>
#include <QJsonObject>
#include <QUrl>

#include <algorithm>

namespace Host
{
namespace
{
constexpr int kLargestFileMiB = 1; ///< of templates and of credentials

/// The absolute path of an existing file that an entry names, or empty.
QString fileOf(const Tavola::JsonEntries& entries, const char* key, const QString& folder)
{
    const QString given = entries.text(key);
    const QString path = QDir::cleanPath(QDir(folder).absoluteFilePath(given));
    if (given.isEmpty() || QFileInfo(path).isFile())
        return given.isEmpty() ? QString() : path;
    const QString kind = QStringLiteral(" is no file, but a folder, a pipe or a device; name a file");
    entries.skip(key, QFileInfo::exists(path) ? path + kind : QStringLiteral("there is no file ") + path);
    return {};
}

/// The letter in a file that an entry names, or empty.
QString letterOf(const Tavola::JsonEntries& entries, const char* key, const QString& folder)
{
    const QString path = fileOf(entries, key, folder);
    if (path.isEmpty())
        return {};
    QString error;
    const auto bytes = Bedrock::readBoundedFile(path, kLargestFileMiB, error);
    const QString text = QString::fromUtf8(bytes.value_or(QByteArray())).replace(QLatin1String("\r\n"), QLatin1String("\n"));
    const QString fault = LetterTemplate::fault(text);
    if (bytes && fault.isEmpty())
        return text;
    entries.skip(key, bytes ? path + QLatin1String(", ") + fault : QStringLiteral("cannot read %1 (%2)").arg(path, error));
    return {};
}

/// Reads a text, or an object with a text for each language.
void readInLanguages(const Tavola::JsonEntries& reader, const char* key, TextInLanguages& result)
{
    TextInLanguages read;
    if (!reader.value(key).isObject()) {
        const QString text = reader.text(key); // which reports what is no text
        if (reader.value(key).isString())
            read = text;
    } else {
        const Tavola::JsonEntries texts = reader.inner(key);
        for (const QString& name : texts.object().keys()) {
            QString tag;
            if (!PeopleFile::parseLanguage(name, tag) || tag.isEmpty() || !texts.value(name).isString())
                texts.skip(name, QStringLiteral("expected the tag of a language, such as de or pt-BR, with a text"));
            else
                read.texts.insert(tag, texts.value(name).toString());
        }
    }
    if (!read.isEmpty())
        result = read;
}
}

bool MailSettings::isMailServer(const QString& text)
{
    const QUrl url(text, QUrl::StrictMode);
    return url.isValid() && !url.host().isEmpty() && url.userInfo().isEmpty()
        && (url.scheme() == QLatin1String("smtp") || url.scheme() == QLatin1String("smtps"));
}

bool MailSettings::isOpenToListeners() const
{
    const QUrl url(server, QUrl::StrictMode);
    const QString host = url.host();
    const bool isThisMachine = host == QLatin1String("localhost") || QHostAddress(host).isLoopback();
    return startTls == StartTls::Never && url.scheme() == QLatin1String("smtp") && !isThisMachine;
}

std::optional<MailSettings> MailSettings::read(const QJsonObject& entry, const QString& folder, const Report& report)
{
    constexpr double kMega = 1e6;
    const Tavola::JsonEntries reader(entry, QString(), report);
    reader.checkKnown(QStringLiteral("name server startTls caFile credentials sender subject template htmlTemplate filesAddress "
                                     "largeFilesText missingFilesText attachmentLimitMegabytes connectTimeoutSeconds "
                                     "timeoutSeconds answerSeconds retrySeconds giveUpHours outboxMessages outboxMegabytes "
                                     "deleteRefusedDays")
                          .split(QLatin1Char(' ')));
    MailSettings settings;
    settings.folder = folder;
    settings.name = reader.text("name");
    settings.server = reader.text("server");
    if (!isMailServer(settings.server)) {
        reader.skip("server", "expected an address that begins with smtp:// or smtps://, without user and password");
        return std::nullopt;
    }
    const QJsonObject sender = entry.value(QLatin1String("sender")).toObject();
    settings.sender = {sender.value(QLatin1String("address")).toString(), sender.value(QLatin1String("name")).toString()};
    if (!isMailAddress(settings.sender.address)) {
        reader.skip("sender", "expected an object with the \"address\" that messages come from, and a \"name\" if you like");
        return std::nullopt;
    }
    settings.filesAddress = reader.text("filesAddress");
    if (!settings.filesAddress.isEmpty() && !settings.filesAddress.endsWith(QLatin1Char('/')))
        settings.filesAddress += QLatin1Char('/');
    readInLanguages(reader, "subject", settings.subject);
    readInLanguages(reader, "largeFilesText", settings.largeFilesText);
    readInLanguages(reader, "missingFilesText", settings.missingFilesText);

    const QStringList encryptions{"required", "if-offered", "never"};
    const int encryption = encryptions.indexOf(reader.text("startTls", encryptions.first()));
    settings.startTls = StartTls(std::max(0, encryption));
    if (encryption < 0)
        reader.skip("startTls", "expected \"required\", \"if-offered\" or \"never\"");
    settings.caFile = fileOf(reader, "caFile", folder);
    settings.credentialsFile = fileOf(reader, "credentials", folder);
    settings.textTemplate = letterOf(reader, "template", folder);
    settings.htmlTemplate = letterOf(reader, "htmlTemplate", folder);
    const auto readPositive = [&reader](const char* key, double& value, double most) {
        value = reader.positive(key, value, most);
    };
    readPositive("connectTimeoutSeconds", settings.connectTimeoutSeconds, 3600.0);
    readPositive("timeoutSeconds", settings.timeoutSeconds, 86400.0);
    readPositive("answerSeconds", settings.answerSeconds, 3600.0);
    readPositive("retrySeconds", settings.retrySeconds, 3600.0);
    readPositive("giveUpHours", settings.giveUpHours, 10000.0);
    settings.attachmentLimitBytes =
        qint64(reader.number("attachmentLimitMegabytes", double(settings.attachmentLimitBytes) / kMega, 1e6) * kMega);
    settings.mostMessages = std::max(1, int(reader.positive("outboxMessages", settings.mostMessages, 1e6)));
    settings.mostBytes = qint64(reader.positive("outboxMegabytes", double(settings.mostBytes) / kMega, 1e6) * kMega);
    settings.deleteRefusedDays = reader.number("deleteRefusedDays", settings.deleteRefusedDays, 10000.0);
    return settings;
}

std::optional<MailCredentials> MailCredentials::load(const QString& fileName, QString& error)
{
    if (fileName.isEmpty())
        return MailCredentials{qEnvironmentVariable("TAVOLA_SMTP_USER"), qEnvironmentVariable("TAVOLA_SMTP_PASSWORD")};
    constexpr auto kOthers = QFile::ReadGroup | QFile::WriteGroup | QFile::ReadOther | QFile::WriteOther;
    const auto bytes = Bedrock::readBoundedFile(fileName, kLargestFileMiB, error);
    const QStringList lines = QString::fromUtf8(bytes.value_or(QByteArray())).remove(QLatin1Char('\r')).split(QLatin1Char('\n'));
    if (QFile::permissions(fileName) & kOthers)
        error = "other users may read or change the password in " + fileName + "; make it yours alone with chmod 600";
    else if (!bytes)
        error = QStringLiteral("cannot read %1 (%2)").arg(fileName, error);
    else if (lines.first().isEmpty())
        error = fileName + QLatin1String(" has no user in its first line and password in its second");
    else
        return MailCredentials{lines.value(0), lines.value(1)};
    return std::nullopt;
}
}
