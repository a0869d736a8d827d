#include "style/NodeStyler.hpp"

#include "style/StyleEnginePrivate.hpp"
#include "values/ValueParser.hpp"

#include <Bedrock/Trace.hpp>
#include <Cascara/LazyAttributeManager.hpp>
#include <Facet/Node.hpp>

#include <algorithm>
#include <utility>

namespace Cascara
{
namespace
{
/// `text` says what is wrong and what happens next.
void report(const Declaration& declaration, const QString& text)
{
    if (std::exchange(declaration.isReported, true))
        return;
    Bedrock::Trace::warning("StyleEngine # %s:%d:%d: %s: %s", declaration.rule->sheet->name.toUtf8().constData(),
                            declaration.line, declaration.column, declaration.attribute.constData(), text.toUtf8().constData());
}

void reportSkipped(const Declaration& declaration, const QString& text)
{
    report(declaration, text + QStringLiteral("; the declaration is skipped"));
}

auto findApplied(StyleNode& node, int attribute)
{
    return std::lower_bound(node.applied.begin(), node.applied.end(), attribute,
                            [](const StyleNode::Applied& applied, int name) { return applied.attribute < name; });
}

/// The declaration in force, 0 for none.
int appliedDeclaration(StyleNode& node, int attribute)
{
    const auto found = findApplied(node, attribute);
    return found != node.applied.end() && found->attribute == attribute ? found->declaration : 0;
}

void setApplied(StyleNode& node, int attribute, int declaration)
{
    const auto found = findApplied(node, attribute);
    const bool exists = found != node.applied.end() && found->attribute == attribute;
    if (exists && declaration == 0)
        node.applied.erase(found);
    else if (exists)
        found->declaration = declaration;
    else if (declaration != 0)
        node.applied.insert(found, {attribute, declaration});
}

const Candidate* endOfAttribute(const Candidate* first, const Candidate* last)
{
    const int number = first->declaration->attributeNumber;
    return std::find_if(first, last, [number](const Candidate& c) { return c.declaration->attributeNumber != number; });
}

/// Whether the definition is that one word.
bool isWord(const Declaration& definition, const char* word)
{
    const auto& list = definition.tokens->list;
    return list.size() == 2 && list.front().kind == Token::Kind::Ident
        && list.front().text.compare(QLatin1String(word), Qt::CaseInsensitive) == 0;
}

QString placeOf(const Declaration& declaration)
{
    return QStringLiteral("%1:%2:%3").arg(declaration.rule->sheet->name).arg(declaration.line).arg(declaration.column);
}
}

NodeStyler::NodeStyler(StyleNode& node, const std::vector<Candidate>& candidates)
    : m_node(node), m_candidates(candidates), m_restyling(++node.restyling)
{
    m_node.missing.reset();
}

std::vector<int> NodeStyler::updateVariables()
{
    std::vector<VariableDefinition> own;
    const Candidate* const last = m_candidates.data() + m_candidates.size();
    for (const Candidate* first = m_candidates.data(); first != last; first = endOfAttribute(first, last)) {
        const Declaration& winner = *first->declaration;
        if (!winner.isVariable || isWord(winner, "inherit") || isWord(winner, "unset"))
            continue;
        own.push_back({winner.attributeNumber, isWord(winner, "initial") ? nullptr : winner.tokens, placeOf(winner)});
    }
    if (own.empty() && m_node.variables.own().empty())
        return m_node.variables.inherit(m_node.parentVariables());
    return m_node.variables.define(std::move(own), m_node.parentVariables());
}

void NodeStyler::apply()
{
    m_node.variables.clearUses();
    if (!withdraw())
        return;
    const Candidate* const last = m_candidates.data() + m_candidates.size();
    for (const Candidate* first = m_candidates.data(); first != last;) {
        const Candidate* const end = endOfAttribute(first, last);
        if (!first->declaration->isVariable && !applyAttribute(first, end))
            return;
        first = end;
    }
}

/// False when the node is gone or was restyled by an inner round.
bool NodeStyler::withdraw()
{
    for (int i = 0; i < m_node.applied.size();) {
        const int attributeNumber = m_node.applied[i].attribute;
        const auto candidate =
            std::lower_bound(m_candidates.begin(), m_candidates.end(), attributeNumber,
                             [](const Candidate& entry, int number) { return entry.declaration->attributeNumber < number; });
        if (candidate != m_candidates.end() && candidate->declaration->attributeNumber == attributeNumber) {
            ++i;
            continue;
        }
        m_node.applied.erase(m_node.applied.begin() + i);
        if (Facet::Attribute* attribute = m_node.owner->node().attributeNumbered(attributeNumber)) {
            attribute->clearValue(Facet::kStyleLayer);
            if (!isCurrent())
                return false;
        }
    }
    return true;
}

void NodeStyler::attributeIsMissing(const Candidate* first, const Candidate* end)
{
    if (!m_node.missing)
        m_node.missing = std::make_unique<std::vector<int>>();
    m_node.missing->push_back(first->declaration->attributeNumber);
    const QByteArray& name = first->declaration->attribute;
    if (Facet::Attribute::isKnownName(name) || LazyAttributeManager::isRegistered(name))
        return;
    if (m_node.isNew) {
        restyler().finishLater(m_node);
        return;
    }
    for (const Candidate* candidate = first; candidate != end; ++candidate)
        reportSkipped(*candidate->declaration, QStringLiteral("no attribute has this name"));
}

/// Gives an attribute the first of its candidates that fits it, or none. False when the node is gone or was restyled meanwhile.
bool NodeStyler::applyAttribute(const Candidate* first, const Candidate* end)
{
    const int number = first->declaration->attributeNumber;
    const int before = appliedDeclaration(m_node, number);
    if (before == first->declaration->serial && !first->declaration->tokens)
        return true;

    Facet::Attribute* attribute = m_node.owner->node().attributeNumbered(number);
    if (!attribute) {
        setApplied(m_node, number, 0);
        attribute = LazyAttributeManager::create(*m_node.owner, first->declaration->attribute);
        if (!isCurrent())
            return false;
    }
    if (!attribute) {
        attributeIsMissing(first, end);
        return true;
    }

    for (const Candidate* candidate = first; candidate != end; ++candidate) {
        const Declaration& declaration = *candidate->declaration;
        if (declaration.tokens) {
            writeSubstituted(*attribute, declaration);
            return isCurrent();
        }
        if (declaration.serial == before)
            return true;
        QString error;
        const bool fits = write(*attribute, declaration, declaration.value, error);
        if (!isCurrent())
            return false;
        if (fits)
            return true;
        reportSkipped(declaration, QStringLiteral("%1, got '%2'").arg(error, declaration.value.toString()));
    }
    clear(*attribute);
    return isCurrent();
}

bool NodeStyler::write(Facet::Attribute& attribute, const Declaration& declaration, const Facet::StyleValue& value,
                       QString& error)
{
    const int number = declaration.attributeNumber;
    const int before = appliedDeclaration(m_node, number);
    setApplied(m_node, number, declaration.serial); // before the listeners read it
    const bool fits = attribute.setStyleValue(value, Facet::kStyleLayer, &error);
    if (!fits && isCurrent())
        setApplied(m_node, number, before);
    return fits;
}

/// What is wrong with a value shows only when the variables are in it. It has won by then: no weaker rule comes into force.
/// A variable that is not there is no mistake where a sheet defines it: a node may lie outside of what has it, or be no part of
/// the tree yet.
void NodeStyler::writeSubstituted(Facet::Attribute& attribute, const Declaration& declaration)
{
    m_node.variables.addUses(*declaration.tokens);
    VariableSubstitution substitution(m_node.variables.set());
    Tokens tokens;
    QString error;
    if (!substitution.run(*declaration.tokens, tokens)) {
        if (substitution.missing() == 0 || !restyler().isVariableDefined(substitution.missing()))
            error = substitution.fault();
    } else {
        ValueParser parser(tokens, declaration.rule->sheet->baseDirectory);
        Facet::StyleValue value;
        if (!parser.parse(0, int(tokens.list.size()) - 1, value))
            error = parser.error().text;
        else if (value.terms.isEmpty())
            error = QStringLiteral("expected a value");
        else if (write(attribute, declaration, value, error) || !isCurrent())
            return;
        error += QStringLiteral(", got '%1'").arg(tokens.source.trimmed());
        if (!substitution.sources().isEmpty())
            error += QStringLiteral(" with ") + substitution.sources();
    }
    if (!error.isEmpty())
        report(declaration, error + QStringLiteral("; the default is used"));
    clear(attribute);
}

void NodeStyler::clear(Facet::Attribute& attribute)
{
    if (appliedDeclaration(m_node, attribute.nameNumber()) == 0)
        return;
    setApplied(m_node, attribute.nameNumber(), 0);
    attribute.clearValue(Facet::kStyleLayer);
}
}
