#pragma once

#include <Cascara/StyleVocabulary.hpp>
#include <Tavola/JsonEntries.hpp>

#include <vector>

namespace Tavola
{
/// The types that a package declares for style sheets, from its entry "styles"; see Package. What is wrong there costs the
/// smallest piece and is reported to `skip`: of an attribute whose values are declared wrongly the name remains, and a type
/// may be based on those of `StyleVocabulary` and of the package. Main thread only.
[[nodiscard]] std::vector<Cascara::StyleType> readStyleDeclarations(const QJsonValue& styles, const JsonEntries::Skip& skip);
}
