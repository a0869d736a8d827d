#pragma once

#include <Bedrock/Export.hpp>
#include <Facet/StyleValue.hpp>

#include <QString>
#include <QStringList>

namespace Cascara
{
/// An attribute as a library or a plug-in declares it for a type, with how its values are written. A plain value.
class TAVOLA_EXPORT StyleAttribute
{
public:
    /// Values are tried on the samples of the types that have it (see StyleType::sample).
    StyleAttribute(const char* name) : m_name(QString::fromUtf8(name)) {} // NOLINT: lists of names read well
    /// `kind`: one of `kinds`; any other one takes every value.
    StyleAttribute(QString name, const QString& kind);
    /// A value is one of the words, in small or capital letters.
    StyleAttribute(QString name, QStringList words);

    /// "yes/no", "number", "whole number", "text", "list" and "colour".
    [[nodiscard]] static QStringList kinds();

    [[nodiscard]] const QString& name() const noexcept { return m_name; }
    /// Whether it is declared how values are written.
    [[nodiscard]] bool judges() const noexcept { return m_kind != Kind::Any; }
    /// False, with what was expected in `error` (may be null), for a value that no attribute of this kind takes.
    [[nodiscard]] bool accepts(const Facet::StyleValue& value, QString* error) const;

private:
    enum class Kind { YesNo, Number, WholeNumber, Text, List, Color, Words, Any };

    QString m_name;
    QStringList m_words;
    Kind m_kind = Kind::Any;
};
}
