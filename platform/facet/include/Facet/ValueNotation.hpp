#pragma once

#include <Facet/StyleConversion.hpp>

#include <QPair>
#include <QVector>

#include <type_traits>

namespace Facet
{
// Everything here is compiled into the libraries that declare attributes, which may be unloaded: no text of theirs may be
// kept, so none is made with QStringLiteral.

/// How the values of an attribute are written, as `StyleConversion<T>` says.
template <class T, class = void>
struct ValueNotation
{
    struct Names
    {
        friend bool operator==(Names, Names) noexcept { return true; }
    };

    static bool read(Names, const StyleValue& value, T& result, QString* error)
    {
        return StyleConversion<T>::read(value, result, error);
    }
    [[nodiscard]] static QString write(Names, const T& value) { return StyleConversion<T>::write(value); }
};

/// Numbers; of some attributes, such as `opacity`, a percentage is one, too: 30% is 0.3.
template <>
struct TAVOLA_EXPORT ValueNotation<float, void>
{
    enum class Percentages { Refused, Taken };
    struct Names
    {
        Percentages percentages = Percentages::Refused;
        friend bool operator==(Names a, Names b) noexcept { return a.percentages == b.percentages; }
    };

    static bool read(Names names, const StyleValue& value, float& result, QString* error);
    [[nodiscard]] static QString write(Names, float value) { return StyleConversion<float>::write(value); }
};

/// The words that a value may be, for the message: "expected one of a, b", and which of them is near to what is written.
[[nodiscard]] TAVOLA_EXPORT QString expectedOneOf(const QStringList& names, const QString& written);

/// An enumeration is written by name; the first name of a value is the one it is written with.
template <class E>
struct ValueNotation<E, std::enable_if_t<std::is_enum_v<E>>>
{
    using Names = QVector<QPair<QString, E>>;

    static bool read(const Names& names, const StyleValue& value, E& result, QString* error)
    {
        const QString written = singleWord(value);
        for (const auto& entry : names) {
            if (entry.first.compare(written, Qt::CaseInsensitive) == 0) {
                result = entry.second;
                return true;
            }
        }
        if (error) {
            QStringList words;
            for (const auto& entry : names)
                words.append(entry.first);
            *error = expectedOneOf(words, written);
        }
        return false;
    }
    [[nodiscard]] static QString write(const Names& names, const E& value)
    {
        for (const auto& entry : names)
            if (entry.second == value)
                return entry.first;
        return {};
    }
};
}
