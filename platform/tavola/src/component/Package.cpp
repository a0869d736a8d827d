#include <Tavola/Package.hpp>

#include "json/JsonText.hpp"

#include <Bedrock/BoundedFile.hpp>
#include <Bedrock/Trace.hpp>

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

bool isListOfNames(const QJsonValue& value)
{
    const QJsonArray list = value.toArray();
    return value.isArray() && std::all_of(list.begin(), list.end(), [](const QJsonValue& name) { return name.isString(); });
}

QStringList namesOf(const QJsonValue& value)
{
    QStringList names;
    for (const QJsonValue& name : value.toArray())
        names.append(name.toString());
    return names;
}

QString complaintAboutAttributes(const QJsonValue& attributes)
{
    if (!attributes.isObject())
        return QStringLiteral("\"attributes\" must be an object of names and of how their values are written");
    const QJsonObject object = attributes.toObject();
    for (auto entry = object.begin(); entry != object.end(); ++entry)
        if (!isListOfNames(entry.value()) && !Cascara::StyleAttribute::kinds().contains(entry.value().toString()))
            return QStringLiteral("the values of \"%1\" must be one of %2, or a list of words")
                .arg(entry.key(), Cascara::StyleAttribute::kinds().join(QStringLiteral(", ")));
    return {};
}

std::vector<Cascara::StyleAttribute> attributesOf(const QJsonObject& attributes)
{
    std::vector<Cascara::StyleAttribute> result;
    for (auto entry = attributes.begin(); entry != attributes.end(); ++entry) {
        if (entry.value().isArray())
            result.emplace_back(entry.key(), namesOf(entry.value()));
        else
            result.emplace_back(entry.key(), entry.value().toString());
    }
    return result;
}

/// What is wrong with the declaration of a type of widgets; empty for a good one.
QString complaintAboutStyles(const QJsonValue& declaration)
{
    static const QStringList kLists{QStringLiteral("classes"), QStringLiteral("states")};
    if (!declaration.isObject())
        return QStringLiteral("expected an object such as { \"is\": \"Widget\", \"attributes\": {} }");
    const QJsonObject object = declaration.toObject();
    for (auto entry = object.begin(); entry != object.end(); ++entry) {
        if (entry.key() == QLatin1String("is")) {
            if (!entry.value().isString())
                return QStringLiteral("\"is\" must be the name of a type");
        } else if (entry.key() == QLatin1String("attributes")) {
            if (const QString complaint = complaintAboutAttributes(entry.value()); !complaint.isEmpty())
                return complaint;
        } else if (!kLists.contains(entry.key())) {
            return QStringLiteral("unknown entry \"%1\"; known are is, attributes, %2")
                .arg(entry.key(), kLists.join(QStringLiteral(", ")));
        } else if (!isListOfNames(entry.value())) {
            return QStringLiteral("\"%1\" must be a list of names").arg(entry.key());
        }
    }
    return {};
}

/// What is wrong with a component's declaration; empty for a good one.
QString complaintAbout(const QJsonValue& declaration)
{
    if (!declaration.isObject())
        return QStringLiteral("expected an object such as { \"type\": \"widget\" }");
    const QJsonObject object = declaration.toObject();
    const QString type = object.value(QLatin1String("type")).toString();
    if (type != QLatin1String("widget") && type != QLatin1String("widget-instance"))
        return QStringLiteral("\"type\" must be \"widget\" or \"widget-instance\"");
    for (const char* key : {"slots", "restrictions"}) {
        const QJsonValue names = object.value(QLatin1String(key));
        if (!names.isUndefined() && !isListOfNames(names))
            return QStringLiteral("\"%1\" must be a list of names").arg(QLatin1String(key));
    }
    return {};
}
}

ComponentDefinition::ComponentDefinition(QString name, QJsonObject declaration)
    : m_name(std::move(name)), m_declaration(std::move(declaration))
{
}

void ComponentDefinition::initComponent()
{
    if (m_schema.isEmpty())
        m_schema = Schema(m_declaration);
}

std::shared_ptr<Package> Package::load(const QString& path)
{
    QString reason;
    const auto read = Bedrock::readBoundedFile(path, kLargestFileMiB, reason);
    if (!read) {
        Bedrock::Trace::warning("Package::load # Cannot read %s: %s", qUtf8Printable(path), qUtf8Printable(reason));
        return nullptr;
    }
    const QByteArray& text = *read;
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(text, &error);
    if (error.error != QJsonParseError::NoError) {
        Bedrock::Trace::warning("Package::load # %s:%s: %s", qUtf8Printable(path),
                                qUtf8Printable(jsonPosition(text, error.offset)), qUtf8Printable(error.errorString()));
        return nullptr;
    }
    if (!document.isObject()) {
        Bedrock::Trace::warning("Package::load # %s:1:1: expected an object with \"package\" and \"components\"",
                                qUtf8Printable(path));
        return nullptr;
    }
    return fromJson(document.object(), path);
}

std::shared_ptr<Package> Package::fromJson(const QJsonObject& json, const QString& fileName)
{
    const QJsonValue components = json.value(QLatin1String("components"));
    if (!components.isObject()) {
        Bedrock::Trace::warning("Package::load # %s: \"components\" is missing or not an object", qUtf8Printable(fileName));
        return nullptr;
    }
    auto package = std::make_shared<Package>();
    package->m_name = json.value(QLatin1String("package")).toString();
    if (package->m_name.isEmpty())
        package->m_name = QFileInfo(fileName).completeBaseName();

    const QJsonObject declarations = components.toObject();
    for (auto entry = declarations.begin(); entry != declarations.end(); ++entry) {
        const QString complaint = complaintAbout(entry.value());
        if (!complaint.isEmpty()) {
            Bedrock::Trace::warning("Package::load # %s: component \"%s\": %s; skipped", qUtf8Printable(fileName),
                                    qUtf8Printable(entry.key()), qUtf8Printable(complaint));
            continue;
        }
        package->m_components.emplace(entry.key(), std::make_shared<ComponentDefinition>(entry.key(), entry.value().toObject()));
    }
    const QJsonObject styles = json.value(QLatin1String("styles")).toObject();
    for (auto entry = styles.begin(); entry != styles.end(); ++entry) {
        const QString complaint = complaintAboutStyles(entry.value());
        if (!complaint.isEmpty()) {
            Bedrock::Trace::warning("Package::load # %s: style \"%s\": %s; skipped", qUtf8Printable(fileName),
                                    qUtf8Printable(entry.key()), qUtf8Printable(complaint));
            continue;
        }
        const QJsonObject declaration = entry.value().toObject();
        package->m_styleTypes.push_back({entry.key().toUtf8(), declaration.value(QLatin1String("is")).toString().toUtf8(),
                                         attributesOf(declaration.value(QLatin1String("attributes")).toObject()),
                                         namesOf(declaration.value(QLatin1String("classes"))),
                                         namesOf(declaration.value(QLatin1String("states")))});
    }
    return package;
}

std::shared_ptr<ComponentDefinition> Package::component(const QString& name) const
{
    const auto found = m_components.find(name);
    return found != m_components.end() ? found->second : nullptr;
}
}
