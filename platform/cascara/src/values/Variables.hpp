#pragma once

#include "syntax/Token.hpp"
#include "values/VariableReferences.hpp"

#include <QStringList>

#include <memory>
#include <vector>

namespace Cascara
{
/// The definition of a variable in a style sheet.
struct VariableDefinition
{
    int name;                             ///< in Facet::NameTable::instance(), with its hyphens
    std::shared_ptr<const Tokens> tokens; ///< null for one that is set to `initial`
    QString place;                        ///< for messages: file, line and column
};

/// A variable as a node has it.
struct Variable
{
    int name;
    std::shared_ptr<const Tokens> value; ///< what it names is put in; null when it is invalid
    QString fault;                       ///< why it is invalid
    int missing;                         ///< the variable that it names and that is not there, 0 for none
    QString place;                       ///< of its definition
};

/// The variables of a node: its own, and those of the nodes above it. Shared by nodes that have the same, never changed.
class VariableSet
{
public:
    using Pointer = std::shared_ptr<const VariableSet>;

    /// Puts into each of `own` the values of the variables that it names. Those that depend on themselves, on others more than
    /// 32 deep, or grow beyond 64 KiB are invalid. `inherited` may be null.
    [[nodiscard]] static Pointer resolve(const Pointer& inherited, const std::vector<VariableDefinition>& own);
    /// Null when there is none of that name.
    [[nodiscard]] const Variable* find(int name) const;
    [[nodiscard]] QStringList names() const;
    /// Names of which two sets, either of which may be null, do not have the same value; ascending.
    [[nodiscard]] static std::vector<int> difference(const VariableSet* a, const VariableSet* b);

private:
    std::vector<Variable> m_variables; ///< ascending by name
};

/// Puts the values of variables in the place of each `var()`.
class VariableSubstitution
{
public:
    static constexpr int kMostCharacters = 65536;

    /// `variables` may be null.
    explicit VariableSubstitution(const VariableSet* variables) : m_variables(variables) {}

    /// False when a variable is missing or invalid and has no fallback, or when the result grows too long.
    [[nodiscard]] bool run(const Tokens& tokens, Tokens& result);
    /// Why `run` failed.
    [[nodiscard]] const QString& fault() const noexcept { return m_fault; }
    /// The name of a variable whose absence made `run` fail, perhaps in one that was to be put in; 0 for another fault.
    [[nodiscard]] int missing() const noexcept { return m_missing; }
    /// The variables that were put in, with the places of their definitions, for messages: "--a (a.css:1:2)".
    [[nodiscard]] QString sources() const { return m_sources.join(QStringLiteral(", ")); }

private:
    bool expand(const Tokens& tokens, int first, int end, Tokens& result);
    bool append(const Tokens& tokens, int index, Tokens& result);

    const VariableSet* m_variables;
    const Tokens* m_lastOrigin = nullptr;
    int m_lastEnd = 0;
    QString m_fault;
    int m_missing = 0;
    QStringList m_sources;
};
}
