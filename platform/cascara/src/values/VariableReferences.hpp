#pragma once

#include "syntax/Token.hpp"

#include <QStringList>

#include <vector>

namespace Cascara
{
// Where tokens name variables by `var()`.

[[nodiscard]] bool isReference(const Token& token);
/// The parts of a `var()`.
struct VariableReference
{
    int name;     ///< index of the token
    int fallback; ///< index of its first token, -1 for none
    int close;
};
/// The parts of the `var()` at the index `function`; `close` is `end` where its parenthesis is left open.
[[nodiscard]] VariableReference referenceAt(const Tokens& tokens, int function, int end);
/// The number of the variable's name in Facet::NameTable::instance().
[[nodiscard]] int variableNumber(const Token& name);

/// The tokens `first` to `end` (exclusive) by themselves.
[[nodiscard]] Tokens cutOut(const Tokens& tokens, int first, int end);
/// Whether there is a `var()` among the tokens.
[[nodiscard]] bool namesVariables(const Tokens& tokens, int first, int end);
/// The numbers of the variables named by `var()`, those in fallbacks too.
void collectVariables(const Tokens& tokens, std::vector<int>& names);
/// The names, with hyphens, of the variables without which the tokens have no value: those of `var()` that have no fallback.
[[nodiscard]] QStringList requiredVariables(const Tokens& tokens);
/// Whether the tokens may stand in a definition, or in a value with `var()`. If not, `error` says what is wrong.
[[nodiscard]] bool checkVariableTokens(const Tokens& tokens, int first, int end, StyleSheetError& error);
}
