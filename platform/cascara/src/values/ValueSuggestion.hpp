#pragma once

#include <Facet/StyleValue.hpp>

#include <QString>

namespace Cascara
{
/// " (did you mean 'calc'?)" for a function that there is not; empty where nothing is near.
[[nodiscard]] QString functionSuggestion(const QString& name);
/// `expected`, what is said of a value that does not fit, with the function that was probably meant: "expected a number (did you
/// mean 'calc'?)". As it is where it suggests something already, and where nothing is near.
[[nodiscard]] QString withFunctionSuggestion(const QString& expected, const Facet::StyleValue& value);
/// As above, also with words and colours, for the values of shorthands and of motion, which have both.
[[nodiscard]] QString withSuggestion(const QString& expected, const Facet::StyleValue& value);
}
