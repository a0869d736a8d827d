#pragma once

#include <Bedrock/Color.hpp>
#include <Bedrock/Export.hpp>
#include <Facet/StyleValue.hpp>
#include <Vecta/Vector2T.hpp>

#include <QString>
#include <QStringList>

namespace Facet
{
/// How a type is written in a style sheet. Specialised for each attribute type:
///     static bool read(const StyleValue&, T& result, QString* error);   // error may be null
///     static QString write(const T&);
template <class T>
struct StyleConversion;

/// The text of a value that is exactly one identifier or string, else an empty text.
[[nodiscard]] TAVOLA_EXPORT QString singleWord(const StyleValue& value);

/// A number as an attribute keeps it. False beyond a thousand million, with the reason in `error` (may be null): sums of
/// such lengths leave the range of a float, and then nothing beside them has a place any more.
[[nodiscard]] TAVOLA_EXPORT bool toFloat(double number, float& result, QString* error);

/// true, false.
template <>
struct TAVOLA_EXPORT StyleConversion<bool>
{
    static bool read(const StyleValue& value, bool& result, QString* error);
    static QString write(const bool& value);
};

/// A number; the units px, s and deg may be written and mean the number itself, ms divides by 1000.
template <>
struct TAVOLA_EXPORT StyleConversion<float>
{
    static bool read(const StyleValue& value, float& result, QString* error);
    static QString write(const float& value);
};

/// A whole number.
template <>
struct TAVOLA_EXPORT StyleConversion<int>
{
    static bool read(const StyleValue& value, int& result, QString* error);
    static QString write(const int& value);
};

/// A quoted text, a url(), one identifier, or an unquoted run of numbers, commas and "-", which is kept as it is written.
template <>
struct TAVOLA_EXPORT StyleConversion<QString>
{
    static bool read(const StyleValue& value, QString& result, QString* error);
    static QString write(const QString& value);
};

/// Texts, names or numbers (as written) separated by commas or blanks; `none` is the empty list.
template <>
struct TAVOLA_EXPORT StyleConversion<QStringList>
{
    static bool read(const StyleValue& value, QStringList& result, QString* error);
    static QString write(const QStringList& value);
};

/// Two numbers (px or no unit).
template <>
struct TAVOLA_EXPORT StyleConversion<Vecta::Vector2f>
{
    static bool read(const StyleValue& value, Vecta::Vector2f& result, QString* error);
    static QString write(const Vecta::Vector2f& value);
};

/// #RGB, #RGBA, #RRGGBB, #RRGGBBAA, rgb(), rgba(), hsl(), hsla(), a colour name of CSS, transparent.
template <>
struct TAVOLA_EXPORT StyleConversion<Bedrock::Color>
{
    static bool read(const StyleValue& value, Bedrock::Color& result, QString* error);
    static QString write(const Bedrock::Color& value);
};
}
