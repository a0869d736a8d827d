#include "style/OwnDefinitions.hpp"

#include "style/DeclaredValue.hpp"
#include "values/CurrentColor.hpp"
#include "values/FontSize.hpp"

#include <Facet/Node.hpp>

#include <algorithm>
#include <utility>

namespace Cascara
{
namespace
{
/// Of a definition that is one of these words.
WideKeyword keywordOf(const Declaration& definition)
{
    const auto& list = definition.tokens->list;
    return list.size() == 2 && list.front().kind == Token::Kind::Ident ? wideKeyword(list.front().text) : WideKeyword::None;
}

QString placeOf(const Declaration& declaration)
{
    return QStringLiteral("%1:%2:%3").arg(declaration.rule->sheet->name).arg(declaration.line).arg(declaration.column);
}
}

NodeInheritance::Changes OwnDefinitions::update()
{
    NodeInheritance& inheritance = m_node.obtainInheritance();
    const NodeInheritance* const parent = m_node.parentInheritance();
    inheritance.clearUses();
    NodeInheritance::Changes changes;
    changes.variables = inheritance.variables.define(variables(), parent ? parent->variables.shared() : nullptr);
    const InheritedValues::Pointer above = parent ? parent->values() : nullptr;
    std::vector<InheritedValue> own;
    // The others may depend on these.
    const auto isBasis = [](int attribute) { return attribute == fontSizeAttribute() || attribute == colorAttribute(); };
    addValues(own, isBasis);
    inheritance.updateTextStyle(above.get(), own);
    addValues(own, [&](int attribute) { return !isBasis(attribute); });
    changes.values = inheritance.defineValues(std::move(own), above);
    return changes;
}

std::vector<VariableDefinition> OwnDefinitions::variables() const
{
    std::vector<VariableDefinition> own;
    const Candidate* const last = m_candidates.data() + m_candidates.size();
    for (const Candidate* first = m_candidates.data(); first != last; first = endOfAttribute(first, last)) {
        const Declaration& winner = *first->declaration;
        const WideKeyword keyword = winner.isVariable ? keywordOf(winner) : WideKeyword::Inherit;
        if (keyword == WideKeyword::None || keyword == WideKeyword::Initial)
            own.push_back({winner.attributeNumber, keyword == WideKeyword::Initial ? nullptr : winner.tokens, placeOf(winner)});
    }
    return own;
}

/// Of each attribute that children inherit, the first candidate that fits it.
template <class Filter>
void OwnDefinitions::addValues(std::vector<InheritedValue>& own, Filter filter)
{
    const Candidate* const last = m_candidates.data() + m_candidates.size();
    for (const Candidate* first = m_candidates.data(); first != last;) {
        const Candidate* const end = endOfAttribute(first, last);
        if (first->declaration->isInherited && filter(first->declaration->attributeNumber))
            while (first != end && !addValue(*first->declaration, own))
                ++first;
        first = end;
    }
}

/// False when the candidate does not fit, so that the next one has its turn.
bool OwnDefinitions::addValue(const Declaration& declaration, std::vector<InheritedValue>& own)
{
    const int number = declaration.attributeNumber;
    const DeclaredValue declared(m_node, declaration);
    if (!declared.isValid() || declared.keyword() == WideKeyword::Inherit || declared.keyword() == WideKeyword::Unset)
        return true;
    if (declared.keyword() == WideKeyword::Initial) {
        own.push_back({number, declaration.serial, nullptr});
        return true;
    }
    // The value that the node had before is kept, so that nothing changes for the nodes below.
    const auto& before = m_node.obtainInheritance().ownValues();
    const auto same = std::find_if(before.begin(), before.end(), [&](const InheritedValue& value) {
        return value.attribute == number && value.value
            && (!declaration.isConstant() ? value.serial < 0 && value.value->toString() == declared.value().toString()
                                          : value.serial == declaration.serial);
    });
    if (same != before.end()) {
        own.push_back(*same);
        return true;
    }
    QString expected;
    const Facet::Attribute* const attribute = m_node.owner->node().attributeNumbered(number);
    if (attribute ? !attribute->accepts(declared.value(), &expected)
                  : !Facet::AttributeDeclaration::anyAccepts(Facet::AttributeName(declaration.attribute), declared.value(),
                                                             &expected)) {
        declared.reportUnfit(expected);
        return declaration.tokens != nullptr;
    }
    own.push_back({number, declaration.isConstant() ? declaration.serial : nextComputedSerial(), declared.sharedValue()});
    return true;
}
}
