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

// The entries that are read as they stand.
const struct
{
    const char* key;
    QString MailSettings::*value;
} kTexts[] = {{"name", &MailSettings::name}, {"server", &MailSettings::server}, {"filesAddress", &MailSettings::filesAddress}};
// The entries that are a text, or an object with a text for each language.
const struct
{
    const char* key;
    TextInLanguages MailSettings::*value;
} kTextsInLanguages[] = {{"subject", &MailSettings::subject},
                         {"largeFilesText", &MailSettings::largeFilesText},
                         {"missingFilesText", &MailSettings::missingFilesText}};
const struct
{
    const char* key;
    double MailSettings::*value;
    double most;
} kTimes[] = {{"connectTimeoutSeconds", &MailSettings::connectTimeoutSeconds, 3600.0},
              {"timeoutSeconds", &MailSettings::timeoutSeconds, 86400.0},
              {"answerSeconds", &MailSettings::answerSeconds, 3600.0},
              {"retrySeconds", &MailSettings::retrySeconds, 3600.0},
              {"giveUpHours", &MailSettings::giveUpHours, 10000.0}};

/// The absolute path of an existing file that an entry names, or empty.
QString fileOf(const Tavola::JsonEntries& entries, const char* key, const QString& folder)
{
    const QString given = entries.text(key);
    const QString path = QDir::cleanPath(QDir(folder).absoluteFilePath(given));
    if (!given.isEmpty() && QFileInfo(path).isFile())
        return path;
    if (!given.isEmpty())
        entries.skip(key,
                     QFileInfo::exists(path)
                         ? QStringLiteral("%1 is no file, but a folder, a pipe or a device; name a file").arg(path)
                         : QStringLiteral("there is no file ") + path);
    return {};
}

QString contentsOf(const Tavola::JsonEntries& entries, const char* key, const QString& folder)
{
    const QString path = fileOf(entries, key, folder);
    if (path.isEmpty())
        return {};
    QString error;
    const auto bytes = Bedrock::readBoundedFile(path, kLargestFileMiB, error);
    if (!bytes) {
        entries.skip(key, QStringLiteral("cannot read %1 (%2)").arg(path, error));
        return {};
    }
    const QString text = QString::fromUtf8(bytes->constData(), bytes->size()).replace(QLatin1String("\r\n"), QLatin1String("\n"));
    const QString fault = LetterSections::fault(text);
    if (fault.isEmpty())
        return text;
    entries.skip(key, path + QLatin1String(", ") + fault);
    return {};
}

void readInLanguages(const Tavola::JsonEntries& reader, const char* key, TextInLanguages& result)
{
    if (!reader.value(key).isObject()) {
        const QString text = reader.text(key); // which reports what is no text
        if (reader.value(key).isString())
            result = text;
        return;
    }
    TextInLanguages read;
    const Tavola::JsonEntries texts = reader.inner(key);
    for (const QString& name : texts.object().keys()) {
        QString tag;
        if (!PeopleFile::parseLanguage(name, tag) || tag.isEmpty() || !texts.value(name).isString())
            texts.skip(name, QStringLiteral("expected the tag of a language, such as de or pt-BR, with a text"));
        else
            read.texts.insert(tag, texts.value(name).toString());
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
    const Tavola::JsonEntries reader(entry, QString(), report);
    QStringList known;
    for (const auto& text : kTexts)
        known << text.key;
    for (const auto& text : kTextsInLanguages)
        known << text.key;
    for (const auto& time : kTimes)
        known << time.key;
    reader.checkKnown(known
                      + QStringList{"startTls", "caFile", "credentials", "sender", "template", "htmlTemplate",
                                    "attachmentLimitMegabytes", "outboxMessages", "outboxMegabytes", "deleteRefusedDays"});
    MailSettings settings;
    settings.folder = folder;
    for (const auto& text : kTexts)
        settings.*text.value = reader.text(text.key, settings.*text.value);
    for (const auto& text : kTextsInLanguages)
        readInLanguages(reader, text.key, settings.*text.value);
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
    if (!settings.filesAddress.isEmpty() && !settings.filesAddress.endsWith(QLatin1Char('/')))
        settings.filesAddress += QLatin1Char('/');

    const QStringList encryptions{"required", "if-offered", "never"};
    const int encryption = encryptions.indexOf(reader.text("startTls", encryptions.first()));
    settings.startTls = StartTls(std::max(0, encryption));
    if (encryption < 0)
        reader.skip("startTls", "expected \"required\", \"if-offered\" or \"never\"");
    settings.caFile = fileOf(reader, "caFile", folder);
    settings.credentialsFile = fileOf(reader, "credentials", folder);
    settings.textTemplate = contentsOf(reader, "template", folder);
    settings.htmlTemplate = contentsOf(reader, "htmlTemplate", folder);
    for (const auto& time : kTimes)
        settings.*time.value = reader.positive(time.key, settings.*time.value, time.most);
    constexpr double kMega = 1e6;
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
    if (QFile::permissions(fileName) & kOthers) {
        error =
            QStringLiteral("other users may read or change the password in %1; make it yours alone with chmod 600").arg(fileName);
        return std::nullopt;
    }
    const auto bytes = Bedrock::readBoundedFile(fileName, kLargestFileMiB, error);
    if (!bytes) {
        error = QStringLiteral("cannot read %1 (%2)").arg(fileName, error);
        return std::nullopt;
    }
    const QList<QByteArray> lines = bytes->split('\n');
    const auto line = [&lines](int number) {
        QByteArray text = lines.value(number);
        while (text.endsWith('\r'))
            text.chop(1);
        return QString::fromUtf8(text);
    };
    MailCredentials credentials;
    credentials.user = line(0);
    credentials.password = line(1);
    if (credentials.user.isEmpty()) {
        error = QStringLiteral("%1 has no user in its first line and password in its second").arg(fileName);
        return std::nullopt;
    }
    return credentials;
}
}
