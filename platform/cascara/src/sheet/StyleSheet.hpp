#pragma once

#include "selectors/Selector.hpp"
#include "syntax/Token.hpp"

#include <Facet/StyleValue.hpp>

#include <QByteArray>
#include <QString>

#include <memory>
#include <vector>

namespace Cascara
{
struct Rule;

struct Declaration
{
    QByteArray attribute;
    int attributeNumber = 0; ///< in the NameTable
    Facet::StyleValue value; ///< unless there are tokens
    /// Of a variable's definition, or of a value that names variables; else null.
    std::shared_ptr<const Tokens> tokens;
    bool isVariable = false;
    bool isImportant = false;
    int line = 0;
    int column = 0;
    int serial = 0; ///< unique in the process; 0 for none
    const Rule* rule = nullptr;
    /// The value as it is written, for tools.
    [[nodiscard]] QString text() const { return tokens ? tokens->source : value.toString(); }
    /// Said already; a declaration is complained about once, not once per node.
    mutable bool isReported = false;
};

struct StyleSheet;

struct Rule
{
    std::vector<Selector> selectors;
    std::vector<Declaration> declarations;
    const StyleSheet* sheet = nullptr;
};

struct StyleSheet
{
    struct Import
    {
        QString url; ///< as written
        int line;
        int column;
    };
    QString name;          ///< in messages
    QString baseDirectory; ///< of relative file names
    std::vector<Import> imports;
    /// Rules keep their address.
    std::vector<std::unique_ptr<Rule>> rules;
    std::vector<StyleSheetError> errors;
};
}
