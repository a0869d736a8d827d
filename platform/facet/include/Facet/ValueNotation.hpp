#pragma once

#include <Facet/StyleConversion.hpp>

#include <QPair>
#include <QVector>

#include <type_traits>
#include <utility>

namespace Facet
{
// Everything here is compiled into the libraries that declare attributes, which may be unloaded: no text of theirs may be
// kept, so none is made with QStringLiteral.

/// How the values of an attribute are written, as `StyleConversion<T>` says.
template <class T, class = void>
class ValueNotation
{
protected:
    struct Names
    {
    };

    ValueNotation() = default;
    explicit ValueNotation(Names) {}
    static bool read(const StyleValue& value, T& result, QString* error)
    {
        return StyleConversion<T>::read(value, result, error);
    }
    [[nodiscard]] static QString write(const T& value) { return StyleConversion<T>::write(value); }
};

/// The words that a value may be, for the message: "expected one of a, b".
[[nodiscard]] TAVOLA_EXPORT QString expectedOneOf(const QStringList& names);

/// An enumeration is written by name; the first name of a value is the one it is written with.
template <class E>
class ValueNotation<E, std::enable_if_t<std::is_enum_v<E>>>
{
protected:
    using Names = QVector<QPair<QString, E>>;

    ValueNotation() = default;
    explicit ValueNotation(Names names) : m_names(std::move(names)) {}

    bool read(const StyleValue& value, E& result, QString* error) const
    {
        const QString written = singleWord(value);
        for (const auto& entry : m_names) {
            if (entry.first.compare(written, Qt::CaseInsensitive) == 0) {
                result = entry.second;
                return true;
            }
        }
        if (error) {
            QStringList words;
            for (const auto& entry : m_names)
                words.append(entry.first);
            *error = expectedOneOf(words);
        }
        return false;
    }
    [[nodiscard]] QString write(const E& value) const
    {
        for (const auto& entry : m_names)
            if (entry.second == value)
                return entry.first;
        return {};
    }

private:
    Names m_names;
};
}
