#pragma once

#include "VisitOptions.hpp"

#include <cstdint>
#include <string>
#include <vector>

namespace Visit
{
/// Sends packets to a table over a socket of its own, by UDP, or by TCP with each packet led by its length.
class Sender
{
public:
    explicit Sender(Target target) : m_target(std::move(target)) {}
    ~Sender();
    Sender(const Sender&) = delete;
    Sender& operator=(const Sender&) = delete;

    /// False, with the reason in errorText(), when the table cannot be found or reached. Blocks.
    [[nodiscard]] bool open();
    /// Sends the whole packet; counts it. False, with the reason in errorText(), when that fails. By UDP a table that does not
    /// listen (yet) is no failure: it may start later, and all is sent again each second.
    [[nodiscard]] bool send(const std::vector<char>& packet);

    [[nodiscard]] std::uint64_t packetsSent() const noexcept { return m_packetsSent; }
    [[nodiscard]] const std::string& errorText() const noexcept { return m_errorText; }

private:
    [[nodiscard]] bool sendAll(const std::vector<char>& bytes) const;

    Target m_target;
    int m_descriptor = -1;
    std::uint64_t m_packetsSent = 0;
    std::string m_errorText;
};
}
