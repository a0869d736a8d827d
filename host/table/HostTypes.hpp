#pragma once

#include <Cascara/StyleVocabulary.hpp>

namespace Host
{
struct Presentation;

/// What style sheets may say of the host's own widgets, and of all widgets while the host runs.
[[nodiscard]] std::vector<Cascara::StyleType> hostTypes(const Presentation& presentation);
}
