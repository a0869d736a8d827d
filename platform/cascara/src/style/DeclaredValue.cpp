#include "style/DeclaredValue.hpp"

#include "sheet/Shorthands.hpp"
#include "style/StyleEnginePrivate.hpp"
#include "values/CurrentColor.hpp"
#include "values/FontSize.hpp"
#include "values/ValueParser.hpp"
#include "values/ValueSuggestion.hpp"

#include <algorithm>
#include <utility>

namespace Cascara
{
void reportDeclaration(const Declaration& declaration, const QString& text)
{
    if (std::exchange(declaration.isReported, true))
        return;
    const StyleSheet& sheet = *declaration.rule->sheet;
    const QByteArray& written = declaration.shorthand.isEmpty() ? declaration.attribute : declaration.shorthand;
    sheet.warnings->log(sheet.name, declaration.line, declaration.column,
                        QString::fromUtf8(written) + QStringLiteral(": ") + text);
}

DeclaredValue::DeclaredValue(StyleNode& node, const Declaration& declaration)
    : m_node(node), m_declaration(declaration), m_keyword(declaration.keyword)
{
    if (declaration.tokens)
        substitute(node);
    // Of a value that is shared it is known whether it depends on either.
    const bool mayDepend = m_isValid && m_computed && !(m_substituted && !m_substituted->dependsOnTexts);
    if (declaration.usesFontSize || (mayDepend && usesFontSize(declaration.attribute, *m_computed)))
        resolveFontSize(node);
    if (declaration.usesColor || (mayDepend && usesCurrentColor(declaration.attribute, *m_computed)))
        resolveColor(node);
}

int nextComputedSerial() noexcept
{
    static int last = 0;
    return --last;
}

int DeclaredValue::serial() const noexcept
{
    return m_substituted ? m_substituted->serial : m_declaration.serial;
}

bool DeclaredValue::isApplied(StyleNode& node, const Declaration& declaration, int applied)
{
    const SubstitutedValue* const known = declaration.substituted.get();
    if (!known || known->serial != applied || known->dependsOnTexts)
        return false;
    NodeVariables& variables = node.obtainInheritance().variables;
    if (known->variables != variables.shared())
        return false;
    variables.addUses(known->names);
    return true;
}

void DeclaredValue::resolveFontSize(StyleNode& node)
{
    m_substituted = nullptr;
    NodeInheritance& inheritance = node.obtainInheritance();
    inheritance.usesFontSize = true;
    const bool isFontSize = m_declaration.attributeNumber == fontSizeAttribute();
    auto value = std::make_shared<Facet::StyleValue>(this->value());
    Cascara::resolveFontSize(m_declaration.attribute, *value, isFontSize ? node.parentFontSize() : node.fontSize());
    m_computed = std::move(value);
}

void DeclaredValue::resolveColor(StyleNode& node)
{
    m_substituted = nullptr;
    node.obtainInheritance().usesColor = true;
    auto value = std::make_shared<Facet::StyleValue>(this->value());
    resolveCurrentColor(*value, node.color());
    m_computed = std::move(value);
}

/// What is wrong with a value shows only when the variables are in it. A variable that is not there is no mistake where a sheet
/// defines it: a node may lie outside of what has it, or be no part of the tree yet.
void DeclaredValue::substitute(StyleNode& node)
{
    NodeVariables& variables = node.obtainInheritance().variables;
    if (m_declaration.substituted && m_declaration.substituted->variables == variables.shared()) {
        m_substituted = m_declaration.substituted;
        variables.addUses(m_substituted->names);
        m_computed = m_substituted->value;
        m_origin = m_substituted->origin;
        m_keyword = m_substituted->keyword;
        return;
    }
    std::vector<int> names;
    collectVariables(*m_declaration.tokens, names);
    variables.addUses(names);
    VariableSubstitution substitution(variables.set());
    Tokens tokens;
    m_isValid = substitution.run(*m_declaration.tokens, tokens);
    if (!m_isValid) {
        const bool isMistake = substitution.missing() == 0 || !restyler().isVariableDefined(substitution.missing());
        if (isMistake && !m_declaration.isFollowing)
            reportDeclaration(m_declaration, substitution.fault() + fallback());
        return;
    }
    m_origin = QStringLiteral(", got '%1'").arg(tokens.source.trimmed());
    if (!substitution.sources().isEmpty())
        m_origin += QStringLiteral(" with ") + substitution.sources();
    ValueParser parser(tokens, m_declaration.rule->sheet->baseDirectory);
    auto value = std::make_shared<Facet::StyleValue>();
    m_isValid = parser.parse(0, int(tokens.list.size()) - 1, *value) && !value->terms.isEmpty();
    QString expected =
        value->terms.isEmpty() && parser.error().text.isEmpty() ? QStringLiteral("expected a value") : parser.error().text;
    if (m_isValid && !m_declaration.shorthand.isEmpty())
        m_isValid = pickPart(*value, expected);
    if (!m_isValid && !m_declaration.isFollowing)
        reportUnfit(expected);
    m_keyword = wideKeywordOf(m_declaration.attribute, *value);
    m_computed = std::move(value);
    if (m_isValid) {
        m_substituted = std::make_shared<const SubstitutedValue>(SubstitutedValue{
            variables.shared(), std::move(names), m_computed, m_origin, m_keyword,
            usesFontSize(m_declaration.attribute, *m_computed) || usesCurrentColor(m_declaration.attribute, *m_computed),
            nextComputedSerial()});
        m_declaration.substituted = m_substituted;
    }
}

/// Leaves of the value of a shorthand what it says of the attribute.
bool DeclaredValue::pickPart(Facet::StyleValue& value, QString& expected) const
{
    std::vector<Shorthand::Part> parts;
    if (!expandShorthand(m_declaration.shorthand, value, parts, expected))
        return false;
    for (Shorthand::Part& part : parts)
        if (part.attribute == m_declaration.attribute)
            value = std::move(part.value);
    return true;
}

std::shared_ptr<const Facet::StyleValue> DeclaredValue::sharedValue() const
{
    return m_computed ? m_computed : std::make_shared<const Facet::StyleValue>(m_declaration.value);
}

/// Whether a fallback stands in for a variable that the node may get when it comes to the tree.
bool DeclaredValue::awaitsVariables() const
{
    if (!m_declaration.tokens || m_node.isInTree())
        return false;
    std::vector<int> names;
    collectVariables(*m_declaration.tokens, names);
    const VariableSet* const set = m_node.inheritance ? m_node.inheritance->variables.set() : nullptr;
    return std::any_of(names.begin(), names.end(),
                       [set](int name) { return !(set && set->find(name)) && restyler().isVariableDefined(name); });
}

void DeclaredValue::reportUnfit(const QString& expected) const
{
    if (awaitsVariables())
        return;
    const QString got = m_declaration.tokens ? m_origin : QStringLiteral(", got '%1'").arg(m_declaration.value.toString());
    reportDeclaration(m_declaration, withFunctionSuggestion(expected, value()) + got + fallback());
}

QString DeclaredValue::fallback() const
{
    if (!m_declaration.tokens)
        return QStringLiteral("; the declaration is skipped");
    return m_declaration.isInherited ? QStringLiteral("; the inherited value is used") : QStringLiteral("; the default is used");
}
}
