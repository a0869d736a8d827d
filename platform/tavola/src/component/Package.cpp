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
        const QJsonArray list = names.toArray();
        if (!names.isUndefined() && (!names.isArray() || !std::all_of(list.begin(), list.end(), [](const QJsonValue& name) {
                return name.isString();
            })))
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
    return package;
}

std::shared_ptr<ComponentDefinition> Package::component(const QString& name) const
{
    const auto found = m_components.find(name);
    return found != m_components.end() ? found->second : nullptr;
}
}
