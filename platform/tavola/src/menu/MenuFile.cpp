#include "menu/MenuFile.hpp"

#include "json/JsonText.hpp"

#include <Bedrock/BoundedFile.hpp>
#include <Bedrock/Trace.hpp>
#include <Tavola/AttributeCheck.hpp>
#include <Tavola/ComponentReader.hpp>
#include <Tavola/JsonEntries.hpp>
#include <Tavola/Tavola.hpp>

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonParseError>

#include <algorithm>

namespace Tavola
{
namespace
{
constexpr int kLargestFileMiB = 4;
}

/// Reads one menu with everything it includes.
class MenuFiles::Reader
{
public:
    std::vector<MenuEntry> read(const QString& path)
    {
        const auto entries = readFile(path, [&](const QString& why) {
            Bedrock::Trace::warning("ContentMenuWidget # %s; the menu stays empty", qUtf8Printable(why));
        });
        return entries;
    }
    [[nodiscard]] const std::vector<FileSeen>& files() const { return m_files; }

private:
    /// The file being read, and its way of naming components.
    struct File
    {
        QString path;
        ComponentReader components;
    };
    using Report = std::function<void(const QString& why)>;

    static void skip(const QString& file, const QString& place, const QString& why)
    {
        Bedrock::Trace::warning("ContentMenuWidget # %s: %s: %s; it is skipped", qUtf8Printable(file), qUtf8Printable(place),
                                qUtf8Printable(why));
    }

    /// `report` is called when the whole file is unusable.
    std::vector<MenuEntry> readFile(const QString& path, const Report& report)
    {
        const QFileInfo info(path);
        m_files.push_back({path, info.lastModified(), info.size()});
        QString reason;
        const auto read = Bedrock::readBoundedFile(path, kLargestFileMiB, reason);
        if (!read) {
            report(QStringLiteral("cannot read the menu %1 (%2)").arg(path, reason));
            return {};
        }
        const QByteArray& text = *read;
        QJsonParseError error;
        const QJsonDocument document = QJsonDocument::fromJson(text, &error);
        if (error.error != QJsonParseError::NoError) {
            report(QStringLiteral("%1:%2: %3").arg(path, jsonPosition(text, error.offset), error.errorString()));
            return {};
        }
        if (!document.isObject()) {
            report(QStringLiteral("%1:1:1: expected an object with \"entries\"").arg(path));
            return {};
        }
        const auto skipHere = [path, text](const QString& place, const QString& why) {
            skip(ComponentReader::located(path, text, place), place, why);
        };
        File here{path, ComponentReader(path, skipHere)};
        here.components.setText(text);
        here.components.setKnown([](const QString& component) {
            const auto application = Tavola::instance();
            return application && application->factories().count(component) > 0;
        });
        const QJsonObject root = document.object();
        JsonEntries(root, QString(), skipHere).checkKnown({"components", "entries"});
        here.components.readNamed(root.value(QLatin1String("components")));
        m_reading.append(info.canonicalFilePath());
        auto entries = readEntries(here, root.value(QLatin1String("entries")), QStringLiteral("entries"));
        m_reading.removeLast();
        return entries;
    }

    std::vector<MenuEntry> readEntries(File& file, const QJsonValue& value, const QString& place)
    {
        std::vector<MenuEntry> result;
        if (!value.isArray()) {
            skip(file.path, place, QStringLiteral("expected a list of entries"));
            return result;
        }
        if (m_depth >= kDeepest) {
            skip(file.path, place, QStringLiteral("menus are nested too deeply"));
            return result;
        }
        ++m_depth;
        const QJsonArray array = value.toArray();
        for (int i = 0; i < array.size(); ++i) {
            const QString at = QStringLiteral("%1[%2]").arg(place, QString::number(i));
            if (++m_count > kMostEntries) {
                if (m_count == kMostEntries + 1)
                    skip(file.path, at, QStringLiteral("there are more than %1 entries").arg(kMostEntries));
                break;
            }
            if (auto entry = readEntry(file, array.at(i), at))
                result.push_back(std::move(*entry));
        }
        --m_depth;
        return result;
    }

    std::optional<MenuEntry> readEntry(File& file, const QJsonValue& value, const QString& place)
    {
        const auto refuse = [&](const QString& why) {
            skip(file.path, place, why);
            return std::nullopt;
        };
        if (!value.isObject())
            return refuse(
                QStringLiteral("expected an object such as { \"text\": \"Map\", \"content\": { \"component\": \"picture\" } }"));
        const QJsonObject object = value.toObject();
        const JsonEntries written(object, place,
                                  [path = file.path](const QString& at, const QString& why) { skip(path, at, why); });
        written.checkKnown({"id", "text", "icon", "entries", "menu", "content"});
        MenuEntry entry;
        entry.id = written.text(QStringLiteral("id"));
        entry.text = written.text(QStringLiteral("text"));
        const QString icon = written.text(QStringLiteral("icon"));
        if (!icon.isEmpty())
            entry.icon = file.components.file(icon, place + QStringLiteral(".icon"));
        if (entry.text.isEmpty() && entry.icon.isEmpty())
            return refuse(QStringLiteral("expected a \"text\" or an \"icon\""));

        const bool hasEntries = object.contains(QLatin1String("entries"));
        const bool hasMenu = object.contains(QLatin1String("menu"));
        const bool hasContent = object.contains(QLatin1String("content"));
        if (int(hasEntries) + int(hasMenu) + int(hasContent) != 1)
            return refuse(QStringLiteral("expected one of \"entries\", \"menu\" and \"content\""));
        if (hasContent) {
            entry.content = file.components.single(object.value(QLatin1String("content")), place + QStringLiteral(".content"));
            // What is wrong is reported already.
            return entry.content && m_attributes.run(*entry.content) ? std::optional<MenuEntry>(std::move(entry)) : std::nullopt;
        }
        entry.entries = hasMenu ? included(file, written.text(QStringLiteral("menu")), place + QStringLiteral(".menu"))
                                : readEntries(file, object.value(QLatin1String("entries")), place + QStringLiteral(".entries"));
        if (entry.entries.empty())
            return refuse(QStringLiteral("it leads to no entries"));
        return entry;
    }

    std::vector<MenuEntry> included(File& file, const QString& name, const QString& place)
    {
        const QString path = file.components.file(name, place);
        if (path.isEmpty())
            return {};
        const int first = m_reading.indexOf(QFileInfo(path).canonicalFilePath());
        if (first >= 0) {
            QStringList circle;
            for (const QString& member : m_reading.mid(first))
                circle << QFileInfo(member).fileName();
            circle << circle.first();
            skip(file.path, place,
                 QStringLiteral("menus include one another in a circle: %1").arg(circle.join(QStringLiteral(" > "))));
            return {};
        }
        return readFile(path, [&](const QString& why) { skip(file.path, place, why); });
    }

    AttributeCheck m_attributes;
    std::vector<FileSeen> m_files;
    QStringList m_reading; ///< canonical paths, the outermost first
    int m_depth = 0;
    int m_count = 0;
};

bool MenuFiles::FileSeen::isUnchanged() const
{
    const QFileInfo now(path);
    return now.lastModified() == modified && now.size() == bytes;
}

std::shared_ptr<const Menu> MenuFiles::menu(const QString& path)
{
    const auto known = m_read.find(path);
    if (known != m_read.end() && std::all_of(known->second.files.begin(), known->second.files.end(), [](const FileSeen& file) {
            return file.isUnchanged();
        }))
        return known->second.menu;
    Reader reader;
    auto menu = std::make_shared<Menu>();
    menu->entries = reader.read(path);
    m_read[path] = {menu, reader.files()};
    return menu;
}
}
