#pragma once

#include "sheet/StyleSheet.hpp"

#include <Cascara/StyleAttribute.hpp>

#include <QHash>
#include <QPair>
#include <QStringList>

#include <functional>
#include <optional>

namespace Cascara
{
/// Compares a style sheet with StyleVocabulary: types, states, attributes against every type that the selector of their rule can
/// match, and values with what is declared of them or the attributes of the samples. Main thread only.
class NameChecker
{
public:
    /// Whether an attribute of that name is made when a style sheet names it.
    using IsMadeLater = std::function<bool(const QByteArray& name)>;

    NameChecker(StyleSheet& sheet, const IsMadeLater& isMadeLater) : m_sheet(sheet), m_isMadeLater(isMadeLater) {}

    /// Adds what is wrong to the sheet's errors, and puts these into the order of lines. A declaration that is reported here is
    /// not reported again when it is applied.
    void run();

private:
    void checkName(const SelectorName& name);
    void checkState(const SelectorName& name);
    void checkRule(const Rule& rule);
    void checkAttribute(const Declaration& declaration, const QString& attribute);
    [[nodiscard]] QString complaintAboutTypes(const Declaration& declaration, const QString& attribute, const QStringList& types);
    [[nodiscard]] QString complaintAboutValue(const Declaration& declaration, const QString& attribute, const QStringList& types);
    /// Nothing for an empty `text`. `unfit`: the types that do not get the value; empty where nothing gets it.
    void report(const Declaration& declaration, const QString& text, const QStringList& unfit);

    /// What is declared for a type; looked up once.
    struct Type
    {
        bool isDeclared = false;
        QStringList attributes;
        QStringList states;
    };
    const Type& typeNamed(const QString& name);
    /// How values of the type's attribute are written, where that is declared.
    const std::vector<StyleAttribute>& valuesOf(const QString& type, const QString& attribute);
    /// The types that declare the attribute.
    const QStringList& owners(const QString& attribute);
    /// Whether as many mistakes were found as are reported.
    [[nodiscard]] bool isFull() const;

    StyleSheet& m_sheet;
    QHash<QString, Type> m_types;
    QHash<QString, QStringList> m_owners;
    QHash<QPair<QString, QString>, std::vector<StyleAttribute>> m_values; ///< by type and attribute
    const IsMadeLater& m_isMadeLater;
    /// Of the rule at hand, for each selector of its list: the declared types that it can match; nothing where it can match any.
    std::vector<std::optional<QStringList>> m_matched;
};
}
