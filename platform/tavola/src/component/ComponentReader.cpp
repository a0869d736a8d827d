#include <Tavola/ComponentReader.hpp>

#include "json/JsonNumbers.hpp"

#include <Tavola/JsonEntries.hpp>

#include <QDir>
#include <QFileInfo>
#include <QJsonArray>

#include <algorithm>

namespace Tavola
{
namespace
{
const QString kTooDeep = QStringLiteral("components are nested too deeply");
/// Named components that use one another, each being read because the one before uses it.
constexpr int kLongestChain = 64;

int countOf(const ComponentUse& use)
{
    int count = 1;
    for (const auto& slot : use.slotContents)
        for (const ComponentUse& inner : slot.second)
            count += countOf(inner);
    return count;
}

int heightOf(const ComponentUse& use)
{
    int inside = 0;
    for (const auto& slot : use.slotContents)
        for (const ComponentUse& inner : slot.second)
            inside = std::max(inside, heightOf(inner));
    return inside + 1;
}
}

ComponentReader::ComponentReader(QString file, Skip skip)
    : m_file(std::move(file)), m_folder(QFileInfo(m_file).absolutePath()), m_skip(std::move(skip)),
      m_numbers(std::make_shared<JsonNumbers>())
{
}

void ComponentReader::setText(const QByteArray& json)
{
    m_numbers = std::make_shared<JsonNumbers>(json);
}

QString ComponentReader::located(const QString& file, const QByteArray& json, const QString& place)
{
    if (!place.contains(QLatin1String(".attributes.")))
        return file;
    const QString position = JsonNumbers::positionOf(json, place);
    return position.isEmpty() ? file : file + QLatin1Char(':') + position;
}

void ComponentReader::readNamed(const QJsonValue& components)
{
    if (components.isUndefined())
        return;
    if (!components.isObject()) {
        m_skip(QStringLiteral("components"), QStringLiteral("expected an object of names and components"));
        return;
    }
    const QJsonObject object = components.toObject();
    for (auto it = object.begin(); it != object.end(); ++it)
        m_named[it.key()].value = it.value();
    // All of them, so that a mistake is reported also in a component that is not used yet. They are counted where they are used.
    for (auto& entry : m_named)
        static_cast<void>(named(entry.first, JsonEntries::joined(QStringLiteral("components"), entry.first), 0));
    m_count = 0;
    m_isFull = false;
}

std::vector<ComponentUse> ComponentReader::list(const QJsonValue& value, const QString& place)
{
    return listAt(value, place, 0);
}

std::optional<ComponentUse> ComponentReader::single(const QJsonValue& value, const QString& place)
{
    return singleAt(value, place, 0);
}

std::vector<ComponentUse> ComponentReader::listAt(const QJsonValue& value, const QString& place, int depth)
{
    std::vector<ComponentUse> result;
    if (depth > kDeepest) {
        m_skip(place, kTooDeep);
        return result;
    }
    if (!value.isUndefined() && !value.isArray())
        m_skip(place, QStringLiteral("expected a list of components"));
    const QJsonArray array = value.toArray();
    for (int i = 0; i < array.size(); ++i)
        if (auto use = singleAt(array.at(i), QStringLiteral("%1[%2]").arg(place, QString::number(i)), depth))
            result.push_back(std::move(*use));
    return result;
}

std::optional<ComponentUse> ComponentReader::singleAt(const QJsonValue& value, const QString& place, int depth)
{
    const QJsonObject entry = value.toObject();
    const JsonEntries entries(entry, place, m_skip);
    const QString name = entry.value(QLatin1String("use")).toString();
    std::optional<ComponentUse> use;
    if (!name.isEmpty()) {
        entries.checkKnown({"use", "id", "classes", "attributes", "slots"});
        use = named(name, place, depth);
        if (!use)
            return std::nullopt;
    } else {
        use.emplace();
        use->component = entry.value(QLatin1String("component")).toString();
        if (use->component.isEmpty()) {
            m_skip(place,
                   m_named.empty() ? QStringLiteral("expected an object with a \"component\"")
                                   : QStringLiteral("expected an object with a \"component\" or \"use\""));
            return std::nullopt;
        }
        if (m_isKnown && !m_isKnown(use->component)) {
            m_skip(place, QStringLiteral("there is no component \"%1\"").arg(use->component));
            return std::nullopt;
        }
        entries.checkKnown({"component", "id", "classes", "attributes", "slots"});
        if (!countIn(1, place))
            return std::nullopt;
    }
    use->place = m_file + QStringLiteral(": ") + place;
    addEntries(entries, place, depth, *use);
    return use;
}

std::optional<ComponentUse> ComponentReader::named(const QString& name, const QString& place, int depth)
{
    const auto found = m_named.find(name);
    if (found == m_named.end()) {
        m_skip(place, QStringLiteral("\"components\" has no \"%1\"").arg(name));
        return std::nullopt;
    }
    Named& entry = found->second;
    if (m_beingRead.contains(name)) {
        const QStringList circle = m_beingRead.mid(m_beingRead.indexOf(name)) << name;
        m_skip(place, QStringLiteral("components contain one another in a circle: %1").arg(circle.join(QStringLiteral(" > "))));
        return std::nullopt;
    }
    if (depth + entry.height - 1 > kDeepest || m_beingRead.size() >= kLongestChain) {
        m_skip(place, kTooDeep);
        return std::nullopt;
    }
    if (!entry.isRead) {
        m_beingRead.append(name);
        entry.use = singleAt(entry.value, JsonEntries::joined(QStringLiteral("components"), name), depth);
        m_beingRead.removeLast();
        entry.isRead = true;
        if (entry.use) {
            entry.count = countOf(*entry.use);
            entry.height = heightOf(*entry.use);
        }
        return entry.use;
    }
    if (!entry.use)
        return std::nullopt; // reported at the place where it is written
    return countIn(entry.count, place) ? entry.use : std::nullopt;
}

void ComponentReader::addEntries(const JsonEntries& entries, const QString& place, int depth, ComponentUse& use)
{
    if (!entries.value(QStringLiteral("id")).isUndefined())
        use.properties.insert(QStringLiteral("id"), entries.value(QStringLiteral("id")));
    const QJsonValue classes = entries.value(QStringLiteral("classes"));
    if (!classes.isUndefined()) {
        QJsonArray together = use.properties.value(QLatin1String("classes")).toArray();
        for (const QJsonValue& name : classes.toArray())
            together.append(name);
        // A value that is no list is reported when it is applied.
        use.properties.insert(QStringLiteral("classes"), classes.isArray() ? QJsonValue(together) : classes);
    }
    QJsonObject attributes = use.properties.value(QLatin1String("attributes")).toObject();
    const QJsonObject values = entries.inner(QStringLiteral("attributes")).object();
    QJsonObject places = use.properties.value(QLatin1String("places")).toObject();
    for (auto it = values.begin(); it != values.end(); ++it) {
        const QString attributePlace = QStringLiteral("%1.attributes.%2").arg(place, it.key());
        places.insert(it.key(), attributePlace);
        const QJsonValue attribute = resolved(it.value(), attributePlace);
        use.unusableAttributes.removeAll(it.key());
        if (attribute.isUndefined())
            use.unusableAttributes << it.key();
        else
            attributes.insert(it.key(), attribute);
    }
    use.properties.insert(QStringLiteral("attributes"), attributes);
    if (!places.isEmpty()) {
        use.properties.insert(QStringLiteral("places"), places);
        use.properties.insert(QStringLiteral("file"), m_file);
    }

    const QJsonObject slotObject = entries.inner(QStringLiteral("slots")).object();
    for (auto it = slotObject.begin(); it != slotObject.end(); ++it) {
        auto contents = listAt(it.value(), QStringLiteral("%1.slots.%2").arg(place, it.key()), depth + 1);
        const auto present = std::find_if(use.slotContents.begin(), use.slotContents.end(),
                                          [&](const auto& slot) { return slot.first == it.key(); });
        if (present == use.slotContents.end())
            use.slotContents.emplace_back(it.key(), std::move(contents));
        else
            std::move(contents.begin(), contents.end(), std::back_inserter(present->second));
    }
}

/// Replaces {"file": "media/x.png"} by the absolute path, and a number by one with its digits, anywhere in a value. Undefined
/// when a file is missing.
QJsonValue ComponentReader::resolved(const QJsonValue& value, const QString& place) const
{
    if (value.isArray()) {
        QJsonArray result;
        const QJsonArray array = value.toArray();
        for (int i = 0; i < array.size(); ++i) {
            const QJsonValue item = resolved(array.at(i), QStringLiteral("%1[%2]").arg(place, QString::number(i)));
            if (!item.isUndefined())
                result.append(item);
        }
        return result;
    }
    if (value.isDouble()) {
        const QString digits = m_numbers->at(place);
        return digits.isEmpty() ? value : JsonNumbers::withDigits(digits);
    }
    if (!value.isObject())
        return value;
    const QString path = file(value.toObject().value(QLatin1String("file")).toString(), place);
    return path.isEmpty() ? QJsonValue(QJsonValue::Undefined) : QJsonValue(path);
}

QString ComponentReader::file(const QString& name, const QString& place) const
{
    if (name.isEmpty()) {
        m_skip(place, QStringLiteral("expected the name of a file"));
        return {};
    }
    const QString path = QDir::cleanPath(QDir(m_folder).absoluteFilePath(name));
    if (!QFileInfo(path).isFile()) {
        m_skip(place, QStringLiteral("there is no file ") + path);
        return {};
    }
    return path;
}

bool ComponentReader::countIn(int components, const QString& place)
{
    if (m_count + components <= kMostComponents) {
        m_count += components;
        return true;
    }
    if (!m_isFull)
        m_skip(place, QStringLiteral("there are more than %1 components").arg(kMostComponents));
    m_isFull = true;
    return false;
}
}
