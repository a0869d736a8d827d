#include "services/collections/CollectedItem.hpp"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <utility>

namespace Host
{
namespace
{
QJsonArray toJson(const QList<QString>& texts)
{
    QJsonArray array;
    for (const QString& text : texts)
        array.append(text);
    return array;
}

QList<QString> toTexts(const QJsonValue& value)
{
    QList<QString> texts;
    for (const QJsonValue& text : value.toArray())
        texts.append(text.toString());
    return texts;
}

QJsonObject contentOf(const CollectedItem& item)
{
    return {{QStringLiteral("file"), item.file},
            {QStringLiteral("sources"), toJson(item.sources)},
            {QStringLiteral("files"), toJson(item.files)},
            {QStringLiteral("name"), item.displayName},
            {QStringLiteral("url"), item.url}};
}

void setContent(CollectedItem& item, const QJsonObject& content)
{
    item.file = content.value(QLatin1String("file")).toString();
    item.sources = toTexts(content.value(QLatin1String("sources")));
    item.files = toTexts(content.value(QLatin1String("files")));
    item.displayName = content.value(QLatin1String("name")).toString();
    item.url = content.value(QLatin1String("url")).toString();
}
}

QByteArray formatContent(const CollectedItem& item)
{
    return QJsonDocument(contentOf(item)).toJson(QJsonDocument::Compact);
}

void readContent(const QByteArray& json, CollectedItem& item)
{
    setContent(item, QJsonDocument::fromJson(json).object());
}

QByteArray formatItems(const std::vector<CollectedItem>& items)
{
    QJsonArray array;
    for (const CollectedItem& item : items) {
        QJsonObject object = contentOf(item);
        object.insert(QStringLiteral("key"), item.key);
        object.insert(QStringLiteral("preview"), item.preview);
        object.insert(QStringLiteral("status"), item.status);
        array.append(object);
    }
    return QJsonDocument(array).toJson(QJsonDocument::Compact);
}

std::optional<std::vector<CollectedItem>> parseItems(const QByteArray& bytes)
{
    const QJsonDocument document = QJsonDocument::fromJson(bytes);
    if (!document.isArray())
        return std::nullopt;
    std::vector<CollectedItem> items;
    for (const QJsonValue& value : document.array()) {
        const QJsonObject object = value.toObject();
        CollectedItem item;
        setContent(item, object);
        item.key = object.value(QLatin1String("key")).toString();
        item.preview = object.value(QLatin1String("preview")).toString();
        item.status = object.value(QLatin1String("status")).toInt();
        items.push_back(std::move(item));
    }
    return items;
}
}
