#include "presentation/Presentation.hpp"

#include "presentation/TextPosition.hpp"

#include <Bedrock/Trace.hpp>
#include <Tavola/ComponentReader.hpp>
#include <Tavola/KeyboardLayout.hpp>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QUrl>

#include <cmath>

namespace
{
class Reader
{
public:
    Reader(const QString& fileName, Presentation& result)
        : m_file(fileName), m_folder(result.folder), m_result(result),
          m_components(fileName, [this](const QString& place, const QString& why) { skip(place, why); })
    {
    }

    void read(const QJsonObject& root)
    {
        checkEntries(root, {"title", "table", "input", "inputSettings", "styleSheets", "plugins", "people", "services", "cards", "components", "widgets",
                                         "folders", "closeTemporaryAfterSeconds"}, QString());
        m_result.title = text(root, "title");
        readTable(root.value(QLatin1String("table")));
        m_result.input = InputSettings::read(root, [this](const QString& place, const QString& why) { skip(place, why); });
        m_result.styleSheets = files(root.value(QLatin1String("styleSheets")), QStringLiteral("styleSheets"));
        readPlugins(root.value(QLatin1String("plugins")));
        if (root.contains(QLatin1String("people")))
            m_result.peopleFile = file(root.value(QLatin1String("people")).toString(), QStringLiteral("people"));
        readServices(root.value(QLatin1String("services")));
        readCards(root.value(QLatin1String("cards")));
        m_result.closeTemporaryAfterSeconds =
            size(root, "closeTemporaryAfterSeconds", QString(), m_result.closeTemporaryAfterSeconds);
        m_components.readNamed(root.value(QLatin1String("components")));
        m_result.widgets = m_components.list(root.value(QLatin1String("widgets")), QStringLiteral("widgets"));
        readFolders(root.value(QLatin1String("folders")));
    }

private:
    void skip(const QString& place, const QString& why) const
    {
        Bedrock::Trace::warning("Presentation # %s: %s: %s; it is skipped", m_file.toUtf8().constData(),
                                place.toUtf8().constData(), why.toUtf8().constData());
    }

    static QString joined(const QString& place, const QString& key) { return place.isEmpty() ? key : place + QLatin1Char('.') + key; }

    /// Warns of what stands in `object` beside the entries that are read: mostly a slip of the pen.
    void checkEntries(const QJsonObject& object, const QStringList& known, const QString& place) const
    {
        for (auto it = object.begin(); it != object.end(); ++it)
            if (!known.contains(it.key()))
                skip(joined(place, it.key()),
                     QStringLiteral("unknown entry; known are ") + known.join(QLatin1String(", ")));
    }

    QString text(const QJsonObject& object, const char* key) const
    {
        const QJsonValue value = object.value(QLatin1String(key));
        if (!value.isUndefined() && !value.isString())
            skip(QLatin1String(key), QStringLiteral("expected a text"));
        return value.toString();
    }

    QJsonArray list(const QJsonValue& value, const QString& place, const char* what) const
    {
        if (!value.isUndefined() && !value.isArray())
            skip(place, QStringLiteral("expected a list of ") + QLatin1String(what));
        return value.toArray();
    }

    QJsonObject object(const QJsonValue& value, const QString& place) const
    {
        if (!value.isUndefined() && !value.isObject())
            skip(place, QStringLiteral("expected an object of names and values"));
        return value.toObject();
    }

    /// A positive number, or `fallback` with a warning.
    float size(const QJsonObject& entries, const char* key, const QString& place, float fallback) const
    {
        const QJsonValue value = entries.value(QLatin1String(key));
        if (value.isUndefined())
            return fallback;
        const double number = value.toDouble(-1.0);
        if (number > 0.0 && number <= Presentation::kLargestSizePx)
            return float(number);
        skip(joined(place, QLatin1String(key)),
             QStringLiteral("expected a number above 0 and up to %1").arg(Presentation::kLargestSizePx));
        return fallback;
    }

    void readTable(const QJsonValue& value)
    {
        const QJsonObject table = object(value, QStringLiteral("table"));
        checkEntries(table, {"width", "height", "pixelPitchMm", "keyboardLayout"}, QStringLiteral("table"));
        m_result.sizePx.x = size(table, "width", QStringLiteral("table"), m_result.sizePx.x);
        m_result.sizePx.y = size(table, "height", QStringLiteral("table"), m_result.sizePx.y);
        m_result.pixelPitchMm = size(table, "pixelPitchMm", QStringLiteral("table"), m_result.pixelPitchMm);
        readKeyboardLayout(table.value(QLatin1String("keyboardLayout")));
    }

    [[nodiscard]] QString file(const QString& name, const QString& place) const { return m_components.file(name, place); }

    QStringList files(const QJsonValue& value, const QString& place) const
    {
        QStringList result;
        const QJsonArray array = list(value, place, "files");
        for (int i = 0; i < array.size(); ++i) {
            const QString path = file(array.at(i).toString(), QStringLiteral("%1[%2]").arg(place, QString::number(i)));
            if (!path.isEmpty())
                result << path;
        }
        return result;
    }

    void readKeyboardLayout(const QJsonValue& value)
    {
        const QStringList known = Tavola::KeyboardLayout::names() + QStringList{QStringLiteral("none")};
        if (value.isUndefined())
            return;
        if (known.contains(value.toString()))
            m_result.keyboardLayout = value.toString();
        else
            skip(QStringLiteral("table.keyboardLayout"), QStringLiteral("expected one of ") + known.join(QLatin1String(", ")));
    }

    void readPlugins(const QJsonValue& value)
    {
        const QJsonArray array = list(value, QStringLiteral("plugins"), "plug-ins");
        for (int i = 0; i < array.size(); ++i) {
            const QString name = array.at(i).toString();
            if (name.isEmpty())
                skip(QStringLiteral("plugins[%1]").arg(i), QStringLiteral("expected the name of a plug-in"));
            else
                m_result.plugins << (name.contains(QLatin1Char('/')) ? QDir(m_folder).absoluteFilePath(name) : name);
        }
    }

    void readServices(const QJsonValue& value)
    {
        const QJsonObject services = object(value, QStringLiteral("services"));
        for (auto it = services.begin(); it != services.end(); ++it) {
            const bool isMail = it.key() == QLatin1String("email-service");
            if (!isMail && it.key() != QLatin1String("media-server-service")) {
                skip(QStringLiteral("services.") + it.key(),
                     QStringLiteral("unknown kind of service; known are email-service, media-server-service"));
                continue;
            }
            const QJsonArray entries = list(it.value(), QStringLiteral("services.") + it.key(), "servers");
            for (int i = 0; i < entries.size(); ++i) {
                const QString place = QStringLiteral("services.%1[%2]").arg(it.key(), QString::number(i));
                if (isMail)
                    readMailService(entries.at(i), place);
                else
                    readMediaServer(entries.at(i), place);
            }
        }
    }

    void readMailService(const QJsonValue& value, const QString& place)
    {
        const auto settings = MailSettings::read(object(value, place), m_folder,
                                                 [&](const QString& key, const QString& why) { skip(joined(place, key), why); });
        if (!settings)
            return;
        for (const MailSettings& other : m_result.mailServices)
            if (other.name == settings->name)
                return skip(place, QStringLiteral("there is an e-mail service named \"%1\" already").arg(settings->name));
        m_result.mailServices.push_back(*settings);
    }

    void readMediaServer(const QJsonValue& value, const QString& place)
    {
        if (!value.isObject())
            return skip(place, QStringLiteral("expected an object of names and values"));
        const QJsonObject entry = value.toObject();
        checkEntries(entry, {"name", "address", "timeoutSeconds"}, place);
        MediaServerSettings settings;
        settings.name = entry.value(QLatin1String("name")).toString();
        settings.address = entry.value(QLatin1String("address")).toString();
        settings.timeoutSeconds = double(size(entry, "timeoutSeconds", place, float(settings.timeoutSeconds)));
        if (isWebAddress(settings.address))
            m_result.mediaServers.push_back(settings);
        else
            skip(place, QStringLiteral("\"address\" must be an address that begins with http:// or https://"));
    }

    void readCards(const QJsonValue& value)
    {
        const QJsonArray array = list(value, QStringLiteral("cards"), "codes");
        for (int i = 0; i < array.size(); ++i) {
            if (const auto code = cardCode(array.at(i)))
                m_result.cards.push_back(*code);
            else
                skip(QStringLiteral("cards[%1]").arg(i),
                     QStringLiteral("expected a card's code, a whole number (as a text when it is above 9007199254740992)"));
        }
    }

    void readFolders(const QJsonValue& value)
    {
        const QJsonObject folders = object(value, QStringLiteral("folders"));
        for (auto it = folders.begin(); it != folders.end(); ++it)
            if (auto folder = m_components.single(it.value(), QStringLiteral("folders.") + it.key()))
                m_result.folders.emplace_back(it.key(), std::move(*folder));
    }

    /// JSON's numbers are exact up to 2^53 only, so longer codes are texts.
    static std::optional<unsigned long> cardCode(const QJsonValue& value)
    {
        constexpr double kLargestExact = 9007199254740992.0;
        if (value.isString()) {
            bool ok = false;
            const unsigned long code = value.toString().toULong(&ok);
            return ok ? std::optional(code) : std::nullopt;
        }
        const double number = value.toDouble(-1.0);
        if (number < 0.0 || number > kLargestExact || number != std::floor(number))
            return std::nullopt;
        return static_cast<unsigned long>(number);
    }

    QString m_file;
    QString m_folder;
    Presentation& m_result;
    Tavola::ComponentReader m_components;
};
}

bool isWebAddress(const QString& text)
{
    const QUrl url(text, QUrl::StrictMode);
    return url.isValid() && !url.host().isEmpty() && (url.scheme() == QLatin1String("http") || url.scheme() == QLatin1String("https"));
}

std::optional<Presentation> Presentation::load(const QString& path, QString& error)
{
    QFileInfo info(path);
    if (info.isDir())
        info.setFile(QDir(path).filePath(QStringLiteral("presentation.json")));
    QFile file(info.absoluteFilePath());
    if (!file.open(QIODevice::ReadOnly)) {
        error = QStringLiteral("cannot read %1 (%2); give the folder of a presentation").arg(file.fileName(), file.errorString());
        return std::nullopt;
    }
    const QByteArray bytes = file.readAll();
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(bytes, &parseError);
    if (!document.isObject()) {
        // Qt counts the character that it stumbled over as read, but for what stands behind the end.
        const bool isBehind = parseError.offset > 0 && parseError.error != QJsonParseError::GarbageAtEnd;
        const TextPosition position = TextPosition::of(bytes, document.isNull() ? parseError.offset - (isBehind ? 1 : 0) : 0);
        error = QStringLiteral("%1:%2:%3: %4").arg(file.fileName(), QString::number(position.line), QString::number(position.column),
                         document.isNull() ? parseError.errorString() : QStringLiteral("expected a JSON object"));
        return std::nullopt;
    }
    Presentation result;
    result.folder = info.absolutePath();
    Reader(file.fileName(), result).read(document.object());
    return result;
}
