#pragma once

#include "sheet/StyleSheet.hpp"
#include "style/StyleNode.hpp"
#include "style/SubstitutedValue.hpp"

#include <QString>

namespace Cascara
{
/// What a declaration says for a node, with the node's variables put in, its font size in place of `em` and its colour in place
/// of `currentcolor`. Short-lived; main thread only.
class DeclaredValue
{
public:
    /// Notes which variables the node uses, and whether its font size and colour. The node's `font-size` and `color` must be
    /// known by then, those of its parent for these themselves.
    DeclaredValue(StyleNode& node, const Declaration& declaration);
    DeclaredValue(const DeclaredValue&) = delete;
    DeclaredValue& operator=(const DeclaredValue&) = delete;

    /// False when variables are missing or do not give a value. What is wrong was reported then. The declaration has won the
    /// cascade all the same: no weaker one comes into force.
    [[nodiscard]] bool isValid() const noexcept { return m_isValid; }
    /// Whether it is one of the words that every attribute takes.
    [[nodiscard]] WideKeyword keyword() const noexcept { return m_keyword; }
    [[nodiscard]] const Facet::StyleValue& value() const noexcept { return m_computed ? *m_computed : m_declaration.value; }
    /// The same, kept as long as it is used.
    [[nodiscard]] std::shared_ptr<const Facet::StyleValue> sharedValue() const;
    /// Of the value: nodes for which it is the same have the same value. Of a declaration that is constant it is the
    /// declaration's.
    [[nodiscard]] int serial() const noexcept;
    /// Whether the node has the declaration's value already when that of `applied` is the last one it was given. Notes which
    /// variables the node uses.
    [[nodiscard]] static bool isApplied(StyleNode& node, const Declaration& declaration, int applied);
    /// Warns, once for each declaration, that the value does not fit the attribute. Not of a node outside of the tree, where
    /// another value comes into force once the node has the variables of the tree.
    void reportUnfit(const QString& expected) const;

private:
    void substitute(StyleNode& node);
    void resolveFontSize(StyleNode& node);
    void resolveColor(StyleNode& node);
    bool pickPart(Facet::StyleValue& value, QString& expected) const;
    [[nodiscard]] QString fallback() const;
    [[nodiscard]] bool awaitsVariables() const;

    const StyleNode& m_node;
    const Declaration& m_declaration;
    std::shared_ptr<const Facet::StyleValue> m_computed;   ///< of a declaration that is not constant
    std::shared_ptr<const SubstitutedValue> m_substituted; ///< where variables give a value, and nothing else does
    QString m_origin;                                      ///< for messages: what was put in, and where it is defined
    WideKeyword m_keyword;
    bool m_isValid = true;
};

/// Warns that a declaration is wrong, once for each. `text` says what is wrong and what happens next.
void reportDeclaration(const Declaration& declaration, const QString& text);
}
