#pragma once

#include "VisitScript.hpp"

#include <cstdint>
#include <vector>

namespace Visit
{
/// A finger or card at one moment.
struct Contact
{
    std::int32_t session = 0; ///< new at each Down, ascending
    int number = 0;           ///< finger, or the card's code
    float x = 0.f;            ///< 0 to 1 of the table
    float y = 0.f;
    float angleRadians = 0.f;

    friend bool operator==(const Contact& a, const Contact& b)
    {
        return a.session == b.session && a.number == b.number && a.x == b.x && a.y == b.y && a.angleRadians == b.angleRadians;
    }
};

struct Frame
{
    std::vector<Contact> fingers; ///< by session, ascending
    std::vector<Contact> cards;   ///< likewise
};

/// A script as a function of time. It has no clock, so the caller decides how fast it plays.
///
///     const Player player(parsed.script);
///     for (double t = 0; !player.isOver(t); t = std::min(t + 1.0 / 60, player.nextActionAfter(t)))
///         send(player.frameAt(t));
class Player
{
public:
    explicit Player(Script script);

    /// The contacts at `seconds` of the script, with the actions of exactly that time.
    [[nodiscard]] Frame frameAt(double seconds) const;
    /// The time of the next action, so that no action falls between two frames; infinity after the last.
    [[nodiscard]] double nextActionAfter(double seconds) const;
    /// Whether nothing changes after `seconds`.
    [[nodiscard]] bool isOver(double seconds) const { return seconds > m_script.durationSeconds(); }
    [[nodiscard]] const Script& script() const { return m_script; }

private:
    Script m_script;
};
}
