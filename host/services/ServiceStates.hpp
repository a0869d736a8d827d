#pragma once

#include <array>
#include <cstddef>

namespace Host
{
enum class ServiceState {
    MailDelayed,     ///< the outbox keeps mail that no server has yet
    MediaServerAway, ///< its last answer was a failure
    PeopleAway       ///< the registry of people could not be read the last time
};

/// What of the table's services does not work at present, as far as their answers say. Main thread only.
class ServiceStates
{
public:
    static constexpr std::size_t kCount = 3;

    void set(ServiceState state, bool on) { m_values.at(static_cast<std::size_t>(state)) = on; }
    [[nodiscard]] bool is(ServiceState state) const { return m_values.at(static_cast<std::size_t>(state)); }

private:
    std::array<bool, kCount> m_values{};
};
}
