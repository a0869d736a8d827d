#include "SiteSettings.hpp"

#include "PageTexts.hpp"
#include "content/ContentFolder.hpp"
#include "shared/WebLink.hpp"

#include <Bedrock/BoundedFile.hpp>

#include <QDir>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>

#include <cmath>

namespace MediaServer
{

namespace
{

constexpr int kLargestFileMiB = 4;
constexpr int kMostDays = 36500;

/// How one member is read: returns what is wrong with it, to stand after its name; empty when it makes sense.
struct Member
{
    const char* name;
    QString (*read)(const QJsonValue& value, const QString& folder, SiteSettings& settings);
};

QString readText(const QJsonValue& value, QString& text)
{
    text = value.toString().trimmed();
    return text.isEmpty() ? QStringLiteral("has to be a text") : QString();
}

QString readAddress(const QJsonValue& value, QString& address)
{
    const auto link = parseWebLink(value.toString());
    if (link)
        address = link->href;
    return link ? QString() : QStringLiteral("has to be an address that begins with http:// or https://");
}

QString readColour(const QJsonValue& value, QByteArray& colour)
{
    static const QRegularExpression form(QStringLiteral("\\A#[0-9a-fA-F]{6}\\z"));
    colour = value.toString().toLatin1();
    return form.match(value.toString()).hasMatch() ? QString() : QStringLiteral("has to be a colour such as \"#8f3a1c\"");
}

QString readGreeting(const QJsonValue& value, SiteSettings& settings)
{
    if (value.isString())
        return readText(value, settings.greeting[QByteArray("")]);
    const QJsonObject texts = value.toObject();
    for (auto entry = texts.begin(); entry != texts.end(); ++entry) {
        const PageTexts* const language = PageTexts::find(entry.key().toLatin1());
        if (!language)
            return QStringLiteral("has the language \"%1\"; pages have en, de, fi and fr").arg(entry.key());
        if (const QString wrong = readText(entry.value(), settings.greeting[language->language]); !wrong.isEmpty())
            return wrong;
    }
    return texts.isEmpty() ? QStringLiteral("has to be a text, or an object with a text for each language") : QString();
}

const Member kMembers[] = {
    {"museum", [](const QJsonValue& value, const QString&, SiteSettings& settings) { return readText(value, settings.museum); }},
    {"greeting", [](const QJsonValue& value, const QString&, SiteSettings& settings) { return readGreeting(value, settings); }},
    {"imprint",
     [](const QJsonValue& value, const QString&, SiteSettings& settings) { return readAddress(value, settings.imprint); }},
    {"privacy",
     [](const QJsonValue& value, const QString&, SiteSettings& settings) { return readAddress(value, settings.privacy); }},
    {"accent",
     [](const QJsonValue& value, const QString&, SiteSettings& settings) { return readColour(value, settings.accent); }},
    {"accentDark",
     [](const QJsonValue& value, const QString&, SiteSettings& settings) { return readColour(value, settings.accentDark); }},
    {"language",
     [](const QJsonValue& value, const QString&, SiteSettings& settings) {
         const PageTexts* const texts = PageTexts::find(value.toString().toLatin1());
         if (texts)
             settings.language = texts->language;
         return texts ? QString() : QStringLiteral("has to be \"en\", \"de\", \"fi\" or \"fr\"");
     }},
    {"logo",
     [](const QJsonValue& value, const QString& folder, SiteSettings& settings) {
         settings.logo = QDir(folder).absoluteFilePath(value.toString());
         const bool isPicture = QFileInfo(settings.logo).isFile() && ContentFolder::isPicture(settings.logo);
         return isPicture ? QString() : QStringLiteral("\"%1\" is no file of a picture").arg(settings.logo);
     }},
    {"keepDays",
     [](const QJsonValue& value, const QString&, SiteSettings& settings) {
         const double days = value.toDouble(-1);
         settings.keepDays = static_cast<int>(days);
         return days >= 1 && days <= kMostDays && std::floor(days) == days
             ? QString()
             : QStringLiteral("has to be a whole number of days from 1 to %1").arg(kMostDays);
     }},
};

}

QString SiteSettings::greetingIn(const QByteArray& wanted) const
{
    const auto found = greeting.find(wanted);
    if (found != greeting.end())
        return *found;
    return greeting.contains(language) ? greeting.value(language) : greeting.value("");
}

Result<SiteSettings> SiteSettings::read(const QString& path)
{
    const auto fail = [&path](const QString& what) { return tl::unexpected(QStringLiteral("%1: %2").arg(path, what)); };
    QString reason;
    const auto bytes = Bedrock::readBoundedFile(path, kLargestFileMiB, reason);
    if (!bytes)
        return fail(reason);
    QJsonParseError parsing;
    const QJsonDocument document = QJsonDocument::fromJson(*bytes, &parsing);
    if (!document.isObject())
        return fail(QStringLiteral("it is no JSON object (%1 at byte %2)").arg(parsing.errorString()).arg(parsing.offset));
    SiteSettings settings;
    const QJsonValue page = document.object().value(QLatin1String("page"));
    if (page.isUndefined())
        return settings;
    if (!page.isObject())
        return fail(QStringLiteral("\"page\" has to be an object"));
    QJsonObject left = page.toObject();
    for (const Member& member : kMembers) {
        const QJsonValue value = left.take(QLatin1String(member.name));
        const QString wrong = value.isUndefined() ? QString() : member.read(value, QFileInfo(path).absolutePath(), settings);
        if (!wrong.isEmpty())
            return fail(QStringLiteral("page.%1 %2").arg(QLatin1String(member.name), wrong));
    }
    if (!left.isEmpty())
        return fail(QStringLiteral("page.%1 is not known").arg(left.keys().first()));
    return settings;
}

}
