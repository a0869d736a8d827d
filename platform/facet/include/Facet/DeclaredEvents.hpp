#pragma once

#include <Bedrock/Export.hpp>
#include <Facet/EventName.hpp>

#include <vector>

namespace Facet
{
class EventSet;

/// The events that a node declares, in the order of declaration. One pointer: the set is shared by all nodes that declare the
/// same events in the same order, which nodes of a class do. Main thread only.
class TAVOLA_EXPORT DeclaredEvents
{
public:
    DeclaredEvents() noexcept;

    /// Declaring twice is one declaration.
    void add(EventName name);
    [[nodiscard]] bool contains(EventName name) const noexcept;
    [[nodiscard]] const std::vector<EventName>& all() const noexcept;
    /// The shared set, for this library.
    [[nodiscard]] const EventSet& set() const noexcept { return *m_set; }

private:
    const EventSet* m_set;
};
}
