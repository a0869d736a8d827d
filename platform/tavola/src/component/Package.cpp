#include <Tavola/Package.hpp>

#include "component/StyleDeclarations.hpp"
#include "json/JsonNumbers.hpp"
#include "json/JsonText.hpp"

#include <Bedrock/BoundedFile.hpp>
#include <Bedrock/Trace.hpp>
#include <Tavola/JsonEntries.hpp>

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

/// Whether it is a good declaration of a component; what is wrong is reported.
bool isDeclaration(const QJsonValue& declaration, const JsonEntries& components, const QString& name)
{
    if (!declaration.isObject()) {
        components.skip(name, QStringLiteral("expected an object such as { \"type\": \"widget\" }"));
        return false;
    }
    const QJsonObject object = declaration.toObject();
    const QString type = object.value(QLatin1String("type")).toString();
    if (type != QLatin1String("widget") && type != QLatin1String("widget-instance")) {
        components.skip(name, QStringLiteral("\"type\" must be \"widget\" or \"widget-instance\""));
        return false;
    }
    for (const char* key : {"slots", "restrictions"}) {
        const QJsonValue names = object.value(QLatin1String(key));
        if (!names.isUndefined() && !isListOfNames(names)) {
            components.skip(name, QStringLiteral("\"%1\" must be a list of names").arg(QLatin1String(key)));
            return false;
        }
    }
    return true;
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
    return fromEntries(document.object(), path, text);
}

std::shared_ptr<Package> Package::fromJson(const QJsonObject& json, const QString& fileName)
{
    return fromEntries(json, fileName, QByteArray());
}

std::shared_ptr<Package> Package::fromEntries(const QJsonObject& json, const QString& fileName, const QByteArray& text)
{
    const auto located = [&](const QString& place) {
        const QString position = JsonNumbers::positionOf(text, place);
        return position.isEmpty() ? fileName : fileName + QLatin1Char(':') + position;
    };
    const auto skip = [&](const QString& place, const QString& why) {
        Bedrock::Trace::warning("Package::load # %s: %s: %s; skipped", qUtf8Printable(located(place)), qUtf8Printable(place),
                                qUtf8Printable(why));
    };
    const QString key = QStringLiteral("components");
    if (!json.value(key).isObject()) {
        Bedrock::Trace::warning("Package::load # %s: \"components\" is missing or not an object", qUtf8Printable(located(key)));
        return nullptr;
    }
    const JsonEntries root(json, QString(), skip);
    root.checkKnown({QStringLiteral("package"), key, QStringLiteral("styles")});
    auto package = std::make_shared<Package>();
    package->m_name = root.text(QStringLiteral("package"));
    if (package->m_name.isEmpty())
        package->m_name = QFileInfo(fileName).completeBaseName();

    const JsonEntries components = root.inner(key);
    for (auto entry = components.object().begin(); entry != components.object().end(); ++entry) {
        const QString name = entry.key();
        const QJsonValue declaration = entry.value();
        if (isDeclaration(declaration, components, name))
            package->m_components.emplace(name, std::make_shared<ComponentDefinition>(name, declaration.toObject()));
    }
    package->m_styleTypes = readStyleDeclarations(root.value(QStringLiteral("styles")), skip);
    return package;
}

std::shared_ptr<ComponentDefinition> Package::component(const QString& name) const
{
    const auto found = m_components.find(name);
    return found != m_components.end() ? found->second : nullptr;
}
}
