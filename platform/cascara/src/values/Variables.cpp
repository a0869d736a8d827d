#include "values/Variables.hpp"

#include "values/DependencyOrder.hpp"

#include <Facet/NameTable.hpp>
#include <Facet/NearestWord.hpp>

#include <algorithm>
#include <iterator>

namespace Cascara
{
namespace
{
using TokenKind = Token::Kind;

/// Variables that name variables that name variables …
constexpr int kDeepestReference = 32;
/// Of all variables of a node that name others.
constexpr int kMostExpandedCharacters = 16 * VariableSubstitution::kMostCharacters;

bool byName(const Variable& variable, int name)
{
    return variable.name < name;
}

bool isSameValue(const Variable& a, const Variable& b)
{
    const bool isSame = a.value == b.value || (a.value && b.value && a.value->source == b.value->source);
    return isSame && a.fault == b.fault && a.place == b.place;
}

/// For each definition the indices of the others that it names.
std::vector<std::vector<int>> dependencies(const std::vector<VariableDefinition>& own)
{
    std::vector<std::vector<int>> result(own.size());
    std::vector<int> names;
    for (std::size_t i = 0; i < own.size(); ++i) {
        names.clear();
        if (own[i].tokens)
            collectVariables(*own[i].tokens, names);
        for (const int name : names) {
            const auto found = std::lower_bound(own.begin(), own.end(), name,
                                                [](const VariableDefinition& d, int number) { return d.name < number; });
            if (found != own.end() && found->name == name)
                result[i].push_back(int(found - own.begin()));
        }
    }
    return result;
}
}

VariableSet::Pointer VariableSet::resolve(const Pointer& inherited, const std::vector<VariableDefinition>& unordered)
{
    std::vector<VariableDefinition> own = unordered;
    std::sort(own.begin(), own.end(), [](const auto& a, const auto& b) { return a.name < b.name; });
    auto result = std::make_shared<VariableSet>();
    std::vector<Variable> variables;
    for (const VariableDefinition& definition : own)
        variables.push_back({definition.name, nullptr, {}, 0, definition.place});
    if (inherited)
        // Of equal names the first range is taken.
        std::set_union(variables.begin(), variables.end(), inherited->m_variables.begin(), inherited->m_variables.end(),
                       std::back_inserter(result->m_variables), [](const auto& a, const auto& b) { return a.name < b.name; });
    else
        result->m_variables = std::move(variables);

    const auto named = dependencies(own);
    std::vector<int> depths(own.size(), 0);
    int characters = 0;
    for (const DependencyOrder::Entry& entry : DependencyOrder::of(named)) {
        const VariableDefinition& definition = own[std::size_t(entry.index)];
        Variable& variable = *std::lower_bound(result->m_variables.begin(), result->m_variables.end(), definition.name, byName);
        int& depth = depths[std::size_t(entry.index)];
        for (const int other : named[std::size_t(entry.index)])
            depth = std::max(depth, depths[std::size_t(other)] + 1);
        if (!definition.tokens) {
            variable.fault = QStringLiteral("it is set to 'initial'");
            continue;
        }
        if (entry.isInCycle) {
            variable.fault = QStringLiteral("it depends on itself");
            continue;
        }
        if (depth > kDeepestReference) {
            variable.fault = QStringLiteral("variables name one another more than %1 deep").arg(kDeepestReference);
            continue;
        }
        if (!namesVariables(*definition.tokens, 0, int(definition.tokens->list.size()) - 1)) {
            variable.value = definition.tokens;
            continue;
        }
        VariableSubstitution substitution(result.get());
        auto expanded = std::make_shared<Tokens>();
        const bool isValid = substitution.run(*definition.tokens, *expanded);
        characters += expanded->source.size();
        variable.missing = substitution.missing();
        if (!isValid)
            variable.fault = substitution.fault();
        else if (characters > kMostExpandedCharacters)
            variable.fault =
                QStringLiteral("the variables of this widget have more than %1 characters").arg(kMostExpandedCharacters);
        else
            variable.value = std::move(expanded);
    }
    return result;
}

const Variable* VariableSet::find(int name) const
{
    const auto found = std::lower_bound(m_variables.begin(), m_variables.end(), name, byName);
    return found != m_variables.end() && found->name == name ? &*found : nullptr;
}

QStringList VariableSet::names() const
{
    QStringList result;
    for (const Variable& variable : m_variables)
        result.append(QString::fromUtf8(Facet::NameTable::instance().name(variable.name)));
    return result;
}

std::vector<int> VariableSet::difference(const VariableSet* a, const VariableSet* b)
{
    static const std::vector<Variable> kNone;
    const auto& x = a ? a->m_variables : kNone;
    const auto& y = b ? b->m_variables : kNone;
    std::vector<int> result;
    for (auto i = x.begin(), j = y.begin(); i != x.end() || j != y.end();) {
        if (j == y.end() || (i != x.end() && i->name < j->name)) {
            result.push_back((i++)->name);
        } else if (i == x.end() || j->name < i->name) {
            result.push_back((j++)->name);
        } else {
            if (!isSameValue(*i, *j))
                result.push_back(i->name);
            ++i;
            ++j;
        }
    }
    return result;
}

bool VariableSubstitution::run(const Tokens& tokens, Tokens& result)
{
    result.source.clear();
    result.list.clear();
    m_lastOrigin = nullptr;
    const bool ok = expand(tokens, 0, int(tokens.list.size()) - 1, result);
    Token end = tokens.list.back();
    end.start = end.end = result.source.size();
    result.list.push_back(end);
    return ok;
}

bool VariableSubstitution::expand(const Tokens& tokens, int first, int end, Tokens& result)
{
    for (int i = first; i < end; ++i) {
        if (!isReference(tokens.list[std::size_t(i)])) {
            if (!append(tokens, i, result))
                return false;
            continue;
        }
        const VariableReference reference = referenceAt(tokens, i, end);
        const Token& name = tokens.list[std::size_t(reference.name)];
        const Variable* variable = m_variables ? m_variables->find(variableNumber(name)) : nullptr;
        i = reference.close;
        if (variable && variable->value) {
            m_sources.append(QStringLiteral("%1 (%2)").arg(name.text, variable->place));
            for (int part = 0; part + 1 < int(variable->value->list.size()); ++part)
                if (!append(*variable->value, part, result))
                    return false;
            m_lastOrigin = nullptr;
        } else if (reference.fallback >= 0) {
            if (!expand(tokens, reference.fallback, reference.close, result))
                return false;
        } else {
            m_missing = variable ? variable->missing : variableNumber(name);
            m_fault = variable
                ? QStringLiteral("the variable '%1' (%2) is invalid: %3").arg(name.text, variable->place, variable->fault)
                : QStringLiteral("there is no variable '%1'").arg(name.text)
                    + (m_variables ? Facet::didYouMean(name.text, m_variables->names()) : QString());
            return false;
        }
    }
    return true;
}

bool VariableSubstitution::append(const Tokens& tokens, int index, Tokens& result)
{
    Token token = tokens.list[std::size_t(index)];
    const int length = token.end - token.start;
    if (result.source.size() + length > kMostCharacters) {
        m_fault = QStringLiteral("with its variables the value has more than %1 characters").arg(kMostCharacters);
        return false;
    }
    // Tokens that did not stand side by side stay two.
    const bool isBlank =
        token.kind == TokenKind::Whitespace || result.list.empty() || result.list.back().kind == TokenKind::Whitespace;
    if (!isBlank && (m_lastOrigin != &tokens || m_lastEnd != token.start))
        result.source += QLatin1Char(' ');
    m_lastOrigin = &tokens;
    m_lastEnd = token.end;
    const int start = result.source.size();
    result.source += tokens.source.midRef(token.start, length);
    token.start = start;
    token.end = start + length;
    result.list.push_back(std::move(token));
    return true;
}
}
