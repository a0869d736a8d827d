#pragma once

#include <Bedrock/Export.hpp>

#include <QByteArray>
#include <QString>
#include <QVector>

namespace Facet
{
/// One component of a declaration's value, as the style sheet has it.
struct StyleTerm
{
    enum class Kind {
        Ident,      ///< text, as written
        String,     ///< text, quotes and escapes resolved
        Url,        ///< text; a relative file name is already resolved against the style sheet's folder
        Hash,       ///< text without '#'
        Number,     ///< number; text as written
        Percentage, ///< number (50 for 50%); text as written
        Dimension,  ///< number and unit, unit in lower case; text as written
        Delimiter,  ///< text is one of "," "/" "-"
        Function    ///< text is the function's name; number is how many of the following terms are its arguments
    };
    Kind kind = Kind::Ident;
    QString text;
    double number = 0.0;
    QByteArray unit;
};

/// The value of a declaration in a style sheet, before an attribute makes its own type of it.
struct TAVOLA_EXPORT StyleValue
{
    QVector<StyleTerm> terms;
    /// As it stands in the style sheet, without comments; empty for a value that comes from elsewhere.
    QString source{};

    /// Whether it is a run of numbers, commas and "-", such as `10` or `10,20-25`: no text, but a text attribute keeps it as
    /// it is written.
    [[nodiscard]] bool isNumberRun() const;
    /// As it could stand in a style sheet, for messages and tools.
    [[nodiscard]] QString toString() const;
};
}
