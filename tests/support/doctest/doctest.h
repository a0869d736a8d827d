#pragma once

// Lies in front of doctest's own header in every test, so that failures show texts: doctest writes a `const char*` as an address,
// which makes the name of a failing row unreadable, and a QString not at all.
#include_next <doctest/doctest.h>

#include <QString>

namespace doctest
{
template <>
struct StringMaker<const char*>
{
    static String convert(const char* text) { return text ? text : "(no text)"; }
};
template <>
struct StringMaker<QString>
{
    static String convert(const QString& text) { return text.toUtf8().constData(); }
};
}
