#pragma once

#include <Bedrock/Export.hpp>
#include <Cascara/StyleVocabulary.hpp>
#include <Tavola/Schema.hpp>

#include <QString>

#include <map>
#include <memory>
#include <vector>

namespace Tavola
{
/// The declaration of one component in a package. Its schema is there after `initComponent`.
class TAVOLA_EXPORT ComponentDefinition
{
public:
    ComponentDefinition(QString name, QJsonObject declaration);

    [[nodiscard]] const QString& name() const noexcept { return m_name; }
    /// Prepares the definition; may be called again.
    void initComponent();
    /// Empty before `initComponent`.
    [[nodiscard]] const Schema& schema() const noexcept { return m_schema; }

private:
    QString m_name;
    QJsonObject m_declaration;
    Schema m_schema;
};

/// The components that a plug-in declares in the JSON file beside it:
///     { "package": "frames", "components": { "picture-frame": { "type": "widget", "slots": ["picture"] } } }
/// "restrictions" beside "slots" lists the attributes without which the component must not be used; see Schema. What style sheets
/// may say of the plug-in's widgets stands there, too; see Cascara::StyleType:
///     "styles": { "FrameWidget": { "is": "Widget", "attributes": { "frame-width": "number", "material": ["oak", "gilt"] },
///                                  "classes": ["old"], "states": ["empty"] } }
/// How values are written is a list of words, or one of Cascara::StyleAttribute::kinds.
class TAVOLA_EXPORT Package
{
public:
    /// Null, with a warning that names file and place, when the file cannot be read as a package. What is wrong with a component
    /// or with a type of widgets costs that entry, with a warning that names its line and column.
    [[nodiscard]] static std::shared_ptr<Package> load(const QString& path);
    [[nodiscard]] static std::shared_ptr<Package> fromJson(const QJsonObject& json, const QString& fileName);

    [[nodiscard]] const QString& name() const noexcept { return m_name; }
    /// Null for a component that this package does not declare.
    [[nodiscard]] std::shared_ptr<ComponentDefinition> component(const QString& name) const;
    [[nodiscard]] const std::vector<Cascara::StyleType>& styleTypes() const noexcept { return m_styleTypes; }

private:
    /// `text`: of the file, for places; may be empty.
    [[nodiscard]] static std::shared_ptr<Package> fromEntries(const QJsonObject& json, const QString& fileName,
                                                              const QByteArray& text);

    QString m_name;
    std::map<QString, std::shared_ptr<ComponentDefinition>> m_components;
    std::vector<Cascara::StyleType> m_styleTypes;
};
}
