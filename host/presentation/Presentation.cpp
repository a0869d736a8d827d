#include "presentation/Presentation.hpp"

#include "presentation/TextPosition.hpp"
#include "services/PeopleFile.hpp"

#include <Bedrock/BoundedFile.hpp>
#include <Bedrock/Trace.hpp>
#include <Http/BearerKeys.hpp>
#include <Lantern/PaintingThreads.hpp>
#include <Tavola/ComponentReader.hpp>
#include <Tavola/JsonEntries.hpp>
#include <Tavola/KeyboardLayout.hpp>

#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QUrl>

#include <cmath>

namespace Host
{
namespace
{
using Tavola::JsonEntries;

/// Texts only: pictures and documents are files of their own.
constexpr int kLargestFileMiB = 4;

class Reader
{
public:
    Reader(const QString& fileName, const QByteArray& text, Presentation& result)
        : m_folder(result.folder), m_result(result), m_skip([fileName, text](const QString& place, const QString& why) {
              const QString where = Tavola::ComponentReader::located(fileName, text, place);
              Bedrock::Trace::warning("Presentation # %s: %s: %s; it is skipped", where.toUtf8().constData(),
                                      place.toUtf8().constData(), why.toUtf8().constData());
          }),
          m_components(fileName, m_skip)
    {
        m_components.setText(text);
    }

    void read(const QJsonObject& object)
    {
        const JsonEntries root(object, QString(), m_skip);
        root.checkKnown({"title",
                         "table",
                         "input",
                         "inputSettings",
                         "styleSheets",
                         "plugins",
                         "people",
                         "database",
                         "services",
                         "cards",
                         "components",
                         "widgets",
                         "folders",
                         "closeTemporaryAfterSeconds",
                         "closeLiftedAfterSeconds",
                         "idleAfterSeconds",
                         "tidyAfterSeconds",
                         "places",
                         "shelf",
                         "collections",
                         "languages",
                         "page"}); // "page" is the media server's (--site)
        m_result.title = root.text("title");
        readTable(root.inner("table"));
        m_result.input = InputSettings::read(object, m_skip);
        readStyleSheets(root.list("styleSheets", "files"));
        readLanguages(root);
        readPlugins(root.list("plugins", "plug-ins"));
        if (object.contains(QLatin1String("people")))
            m_result.peopleFile = m_components.file(root.value("people").toString(), QStringLiteral("people"));
        m_result.database = root.text("database");
        readServices(root.inner("services"));
        readCards(root.list("cards", "codes"));
        if (object.contains(QLatin1String("collections")))
            readCollections(root.inner("collections"));
        readCare(root);
        m_components.readNamed(root.value("components"));
        m_result.widgets = m_components.list(root.value("widgets"), QStringLiteral("widgets"));
        m_result.shelf = m_components.list(root.value("shelf"), QStringLiteral("shelf"));
        readPlaces(root.list("places", "places"));
        readFolders(root.inner("folders").object());
    }

private:
    static float size(const JsonEntries& entries, const char* key, float usual)
    {
        return float(entries.positive(key, double(usual), Presentation::kLargestSizePx));
    }

    void readTable(const JsonEntries& table)
    {
        table.checkKnown({"width", "height", "pixelPitchMm", "keyboardLayout", "language", "fit", "reducedMotion",
                          "pictureMegabytes", "decodedMegabytes", "paintingThreads"});
        m_result.sizePx.x = size(table, "width", m_result.sizePx.x);
        m_result.sizePx.y = size(table, "height", m_result.sizePx.y);
        m_result.pixelPitchMm = size(table, "pixelPitchMm", m_result.pixelPitchMm);
        m_result.reducedMotion = table.flag("reducedMotion", false);
        readKeyboardLayout(table.value("keyboardLayout"));
        const QString language = table.text("language", m_result.language);
        if (!PeopleFile::parseLanguage(language, m_result.language) || m_result.language.isEmpty()) {
            table.skip("language", QStringLiteral("expected the tag of a language, such as de or pt-BR"));
            m_result.language = Presentation().language;
        }
        m_result.fit = ScreenView::fitOf(table.value("fit").toString());
        if (!m_result.fit && table.object().contains(QLatin1String("fit")))
            table.skip("fit", QStringLiteral("expected one of scale, stretch, relayout"));
        constexpr double most = Presentation::kMostPictureMegabytes;
        m_result.pictureMegabytes = int(table.number("pictureMegabytes", m_result.pictureMegabytes, most));
        m_result.decodedMegabytes = int(table.number("decodedMegabytes", m_result.decodedMegabytes, most));
        readPaintingThreads(table);
    }

    void readPaintingThreads(const JsonEntries& table)
    {
        const QString key = QStringLiteral("paintingThreads");
        if (!table.object().contains(key))
            return;
        const double count = table.value(key).toDouble();
        if (count >= 1.0 && count <= Lantern::PaintingThreads::kMost && count == std::floor(count))
            m_result.paintingThreads = int(count);
        else
            table.skip(key, QStringLiteral("expected a whole number from 1 to %1").arg(Lantern::PaintingThreads::kMost));
    }

    void readCare(const JsonEntries& root)
    {
        CareSettings& care = m_result.care;
        care.closeAfterSeconds = size(root, "closeTemporaryAfterSeconds", care.closeAfterSeconds);
        care.closeLiftedAfterSeconds = size(root, "closeLiftedAfterSeconds", care.closeAfterSeconds);
        care.idleAfterSeconds = size(root, "idleAfterSeconds", care.idleAfterSeconds);
        care.tidyAfterSeconds = size(root, "tidyAfterSeconds", care.tidyAfterSeconds);
    }

    void readStyleSheets(const QJsonArray& array)
    {
        for (int i = 0; i < array.size(); ++i) {
            const QString path = m_components.file(array.at(i).toString(), QStringLiteral("styleSheets[%1]").arg(i));
            if (!path.isEmpty())
                m_result.styleSheets << path;
        }
    }

    void readLanguages(const JsonEntries& root)
    {
        const QString key = QStringLiteral("languages");
        const QDir folder(m_folder);
        if (!root.object().contains(key) && folder.exists(key))
            m_result.languageFolders << folder.absoluteFilePath(key);
        const QJsonArray folders = root.list(key, "folders");
        for (int i = 0; i < folders.size(); ++i) {
            const QString path = QDir::cleanPath(folder.absoluteFilePath(folders.at(i).toString()));
            if (folders.at(i).isString() && QFileInfo(path).isDir())
                m_result.languageFolders << path;
            else
                m_skip(QStringLiteral("languages[%1]").arg(i), QStringLiteral("there is no folder ") + path);
        }
    }

    void readKeyboardLayout(const QJsonValue& value)
    {
        if (value.isUndefined())
            return;
        const QStringList known = Tavola::KeyboardLayout::names() + QStringList{QStringLiteral("none")};
        if (known.contains(value.toString()))
            m_result.keyboardLayout = value.toString();
        else
            m_skip(QStringLiteral("table.keyboardLayout"), QStringLiteral("expected one of ") + known.join(QLatin1String(", ")));
    }

    void readPlugins(const QJsonArray& array)
    {
        for (int i = 0; i < array.size(); ++i) {
            const QString name = array.at(i).toString();
            if (name.isEmpty())
                m_skip(QStringLiteral("plugins[%1]").arg(i), QStringLiteral("expected the name of a plug-in"));
            else
                m_result.plugins << (name.contains(QLatin1Char('/')) ? QDir(m_folder).absoluteFilePath(name) : name);
        }
    }

    void readServices(const JsonEntries& services)
    {
        for (auto it = services.object().begin(); it != services.object().end(); ++it) {
            const bool isMail = it.key() == QLatin1String("email-service");
            if (!isMail && it.key() != QLatin1String("media-server-service")) {
                services.skip(it.key(), QStringLiteral("unknown kind of service; known are email-service, media-server-service"));
                continue;
            }
            const QJsonArray entries = services.list(it.key(), "servers");
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
        const JsonEntries entry = JsonEntries::of(value, place, m_skip);
        const auto settings = MailSettings::read(entry.object(), m_folder,
                                                 [&entry](const QString& key, const QString& why) { entry.skip(key, why); });
        if (!settings)
            return;
        for (const MailSettings& other : m_result.mailServices)
            if (other.name == settings->name)
                return m_skip(place, QStringLiteral("there is an e-mail service named \"%1\" already").arg(settings->name));
        m_result.mailServices.push_back(*settings);
    }

    void readMediaServer(const QJsonValue& value, const QString& place)
    {
        if (!value.isObject())
            return m_skip(place, QStringLiteral("expected an object of names and values"));
        const JsonEntries entry(value.toObject(), place, m_skip);
        entry.checkKnown({"name", "address", "timeoutSeconds", "keyFile"});
        MediaServerSettings settings;
        settings.name = entry.value("name").toString();
        settings.address = entry.value("address").toString();
        settings.timeoutSeconds = double(size(entry, "timeoutSeconds", float(settings.timeoutSeconds)));
        const QString keyFile = entry.value("keyFile").toString();
        if (!keyFile.isEmpty()) {
            const auto keys = Http::BearerKeys::read(QDir(m_folder).absoluteFilePath(keyFile));
            if (keys)
                settings.key = keys->key();
            else
                entry.skip("keyFile", keys.error());
        }
        if (isWebAddress(settings.address))
            m_result.mediaServers.push_back(settings);
        else
            m_skip(place, QStringLiteral("\"address\" must be an address that begins with http:// or https://"));
    }

    void readCards(const QJsonArray& array)
    {
        for (int i = 0; i < array.size(); ++i) {
            if (const auto code = cardCode(array.at(i)))
                m_result.cards.push_back(*code);
            else
                m_skip(QStringLiteral("cards[%1]").arg(i),
                       QStringLiteral("expected a card's code, a whole number (as a text when it is above 9007199254740992)"));
        }
    }

    /// A mistake keeps nothing: visitors' things are stored only for as long as the presentation says.
    void readCollections(const JsonEntries& collections)
    {
        collections.checkKnown({"keep"});
        m_result.collections = CollectionSettings::parse(collections.value("keep").toString());
        if (!m_result.collections)
            collections.skip(QStringLiteral("keep"),
                             QStringLiteral("expected a time of up to %1 days, such as \"30d\" or \"12h\", or \"forever\"")
                                 .arg(CollectionSettings::kLongestDays));
    }

    void readPlaces(const QJsonArray& array)
    {
        for (int i = 0; i < array.size(); ++i) {
            const QString name = QStringLiteral("places[%1]").arg(i);
            const JsonEntries entry(array.at(i).toObject(), name, m_skip);
            entry.checkKnown({"x", "y", "angle"});
            const double angle = entry.value("angle").toDouble(entry.object().contains(QLatin1String("angle")) ? NAN : 0.0);
            if (std::isnan(angle) || !entry.value("x").isDouble() || !entry.value("y").isDouble())
                m_skip(name, QStringLiteral("expected numbers for \"x\" and \"y\", and degrees for \"angle\""));
            else
                m_result.places.push_back(
                    {{float(entry.value("x").toDouble()), float(entry.value("y").toDouble())}, float(angle)});
        }
    }

    void readFolders(const QJsonObject& folders)
    {
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

    QString m_folder;
    Presentation& m_result;
    JsonEntries::Skip m_skip;
    Tavola::ComponentReader m_components;
};
}

bool isWebAddress(const QString& text)
{
    const QUrl url(text, QUrl::StrictMode);
    return url.isValid() && !url.host().isEmpty()
        && (url.scheme() == QLatin1String("http") || url.scheme() == QLatin1String("https"));
}

std::optional<Presentation> Presentation::load(const QString& path, QString& error)
{
    QFileInfo info(path);
    if (info.isDir())
        info.setFile(QDir(path).filePath(QStringLiteral("presentation.json")));
    const QString file = info.absoluteFilePath();
    QString reason;
    const auto read = Bedrock::readBoundedFile(file, kLargestFileMiB, reason);
    if (!read) {
        error = QStringLiteral("cannot read %1 (%2); give the folder of a presentation").arg(file, reason);
        return std::nullopt;
    }
    const QByteArray& bytes = *read;
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(bytes, &parseError);
    if (!document.isObject()) {
        // Qt's offset is one past the wrong character, except for garbage after the end.
        const bool isOnePast = parseError.offset > 0 && parseError.error != QJsonParseError::GarbageAtEnd;
        const TextPosition position = TextPosition::of(bytes, document.isNull() ? parseError.offset - (isOnePast ? 1 : 0) : 0);
        error = QStringLiteral("%1:%2:%3: %4")
                    .arg(file, QString::number(position.line), QString::number(position.column),
                         document.isNull() ? parseError.errorString() : QStringLiteral("expected a JSON object"));
        return std::nullopt;
    }
    Presentation result;
    result.folder = info.absolutePath();
    Reader(file, bytes, result).read(document.object());
    return result;
}
}
