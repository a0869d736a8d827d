#pragma once

#include <Cascara/LazyAttributeManager.hpp>
#include <Cascara/StyleVocabulary.hpp>
#include <Cascara/Styleable.hpp>
#include <Facet/Attribute.hpp>
#include <Facet/AttributeDeclaration.hpp>
#include <Facet/Node.hpp>

#include <doctest/doctest.h>

#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace TestSupport
{
/// Compares what nodes have with what is declared for their types. Attributes that style sheets make when they name them are left
/// out.
class DeclaredTypes
{
public:
    void add(const Cascara::Styleable& node)
    {
        const QString type = QString::fromUtf8(node.cssType());
        if (type.isEmpty()) // an operator that style sheets do not reach
            return;
        const QStringList classes = Cascara::StyleVocabulary::classesOf(type);
        const QStringList states = Cascara::StyleVocabulary::statesOf(type);
        auto& names = m_attributes[type];
        for (const Facet::Attribute* attribute : node.node().attributes()) {
            compareValues(type, *attribute);
            if (!Cascara::LazyAttributeManager::isRegistered(attribute->name()))
                names.insert(attribute->name().toStdString());
        }
        for (const QByteArray& state : node.pseudoClasses())
            CHECK_MESSAGE((states.contains(QString::fromUtf8(state)) || state.startsWith("lang(")),
                          node.cssType().toStdString() << " is :" << state.toStdString());
    }

    /// Each type's nodes have together the attributes that are declared for it, no more and no less.
    void check() const
    {
        for (const auto& [type, names] : m_attributes) {
            CAPTURE(type.toStdString());
            CHECK(Cascara::StyleVocabulary::hasType(type));
            std::set<std::string> declared;
            for (const QString& name : Cascara::StyleVocabulary::attributesOf(type))
                if (!Cascara::LazyAttributeManager::isRegistered(name.toUtf8()))
                    declared.insert(name.toStdString());
            for (const std::string& name : names)
                CHECK_MESSAGE(declared.count(name) > 0, "not declared: " << name);
            for (const std::string& name : declared)
                CHECK_MESSAGE(names.count(name) > 0, "declared, and not there: " << name);
        }
    }

    /// Whether the values of an attribute of that name were compared with how they are declared.
    [[nodiscard]] bool hasCompared(const QString& attribute) const { return m_compared.count(attribute) > 0; }

    [[nodiscard]] bool hasSeen(const QString& type) const { return m_attributes.count(type) > 0; }

private:
    /// Values of every kind that style sheets have.
    static std::vector<Facet::StyleValue> probes()
    {
        using Kind = Facet::StyleTerm::Kind;
        const auto word = [](const char* text) { return Facet::StyleTerm{Kind::Ident, QLatin1String(text), 0.0, {}}; };
        const Facet::StyleTerm whole{Kind::Number, QStringLiteral("3"), 3.0, {}};
        const Facet::StyleTerm text{Kind::String, QStringLiteral("a text"), 0.0, {}};
        const std::vector<QVector<Facet::StyleTerm>> lists{{word("true")},
                                                           {word("red")},
                                                           {word("none")},
                                                           {word("no-word-of-any-list")},
                                                           {whole},
                                                           {Facet::StyleTerm{Kind::Number, QStringLiteral("2.5"), 2.5, {}}},
                                                           {Facet::StyleTerm{Kind::Dimension, QStringLiteral("2s"), 2.0, "s"}},
                                                           {Facet::StyleTerm{Kind::Percentage, QStringLiteral("50%"), 50.0, {}}},
                                                           {Facet::StyleTerm{Kind::Hash, QStringLiteral("ff0000"), 0.0, {}}},
                                                           {text},
                                                           {text, text},
                                                           {whole, whole}};
        std::vector<Facet::StyleValue> values;
        for (const auto& terms : lists) {
            values.emplace_back();
            values.back().terms = terms;
        }
        return values;
    }

    /// What is declared of the values is what the attribute takes and what it complains of. A declaration that says nothing is
    /// right for what the samples have.
    void compareValues(const QString& type, const Facet::Attribute& attribute)
    {
        const QString name = QString::fromUtf8(attribute.name());
        CAPTURE(type.toStdString() + "." + name.toStdString());
        const auto declared = Cascara::StyleVocabulary::valuesOf(type, name);
        if (declared.empty()) {
            CHECK_MESSAGE(isOfSample(attribute), "how its values are written is not declared");
            return;
        }
        REQUIRE(declared.size() == 1);
        for (const Facet::StyleValue& value : probes()) {
            CAPTURE(value.toString().toStdString());
            QString expected;
            QString declaredExpected;
            const bool takesIt = attribute.accepts(value, &expected);
            CHECK(declared.front().accepts(value, &declaredExpected) == takesIt);
            if (!takesIt)
                CHECK(declaredExpected.toStdString() == expected.toStdString());
        }
        m_compared.insert(name);
    }

    [[nodiscard]] bool isOfSample(const Facet::Attribute& attribute) const
    {
        for (const auto& sample : m_samples) {
            const Facet::Attribute* const same = sample->attributeNumbered(attribute.nameNumber());
            if (same && same->isOfSameType(attribute))
                return true;
        }
        return false;
    }

    const std::vector<std::shared_ptr<Facet::Node>> m_samples = Cascara::StyleVocabulary::makeSamples();
    std::set<QString> m_compared;
    std::map<QString, std::set<std::string>> m_attributes;
};
}
