#pragma once

#include <Cascara/LazyAttributeManager.hpp>
#include <Cascara/StyleVocabulary.hpp>
#include <Cascara/Styleable.hpp>
#include <Facet/Attribute.hpp>
#include <Facet/Node.hpp>

#include <doctest/doctest.h>

#include <map>
#include <set>
#include <string>

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
        for (const Facet::Attribute* attribute : node.node().attributes())
            if (!Cascara::LazyAttributeManager::isRegistered(attribute->name()))
                names.insert(attribute->name().toStdString());
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

    [[nodiscard]] bool hasSeen(const QString& type) const { return m_attributes.count(type) > 0; }

private:
    std::map<QString, std::set<std::string>> m_attributes;
};
}
