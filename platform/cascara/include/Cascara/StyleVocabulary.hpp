#pragma once

#include <Bedrock/Export.hpp>
#include <Cascara/StyleAttribute.hpp>

#include <QByteArray>
#include <QStringList>

#include <functional>
#include <memory>
#include <vector>

namespace Facet
{
class Node;
}

namespace Cascara
{
/// What style sheets may say of the nodes of one type: names, as they are written there.
struct StyleType
{
    QByteArray name;
    /// The type whose attributes, classes and states these nodes have as well; empty for none.
    QByteArray base;
    std::vector<StyleAttribute> attributes;
    /// Classes that the program gives them.
    QStringList classes{};
    /// Pseudo-classes that the program sets on them.
    QStringList states{};
    /// Makes a node of the type, to try values of style sheets on when they are read; may be null. Its attributes are to be made
    /// by themselves: none is asked for by name.
    std::function<std::shared_ptr<Facet::Node>()> sample{};
    /// Whether types that are based on it have what this declaration says, too.
    bool isForOthers = true;
};

/// The types of nodes that libraries and plug-ins have declared. By it names in style sheets are checked when a sheet is read,
/// before there is a node of the type (see StyleEngine::setChecksNames). Several declarations of a type add up. Main thread only.
class TAVOLA_EXPORT StyleVocabulary
{
public:
    /// Declares types; takes them out in its destructor.
    class TAVOLA_EXPORT Registrant
    {
    public:
        explicit Registrant(std::vector<StyleType> types);
        Registrant(const Registrant&) = delete;
        Registrant& operator=(const Registrant&) = delete;
        ~Registrant();

    private:
        long m_entry;
    };

    /// All names of types, attributes and states, sorted.
    [[nodiscard]] static QStringList types();
    [[nodiscard]] static QStringList attributes();
    [[nodiscard]] static QStringList states();

    [[nodiscard]] static bool hasType(const QString& type);
    /// For messages: "a TextWidget", "an ImageWidget".
    [[nodiscard]] static QString withArticle(const QString& type);
    /// Of the type and those it is based on, sorted. Empty for a type that is not declared.
    [[nodiscard]] static QStringList attributesOf(const QString& type);
    [[nodiscard]] static QStringList classesOf(const QString& type);
    [[nodiscard]] static QStringList statesOf(const QString& type);
    /// The declarations of the type's attribute that say how values are written: a value is right that one of them accepts.
    [[nodiscard]] static std::vector<StyleAttribute> valuesOf(const QString& type, const QString& attribute);
    /// The types that declare the name themselves, sorted: types based on them have it, too.
    [[nodiscard]] static QStringList typesWithAttribute(const QString& attribute);
    [[nodiscard]] static QStringList typesWithState(const QString& state);
    /// A node of each type that has a sample.
    [[nodiscard]] static std::vector<std::shared_ptr<Facet::Node>> makeSamples();
};
}
