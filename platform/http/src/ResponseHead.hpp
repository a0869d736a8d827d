#pragma once

#include <Http/Message.hpp>

#include <cstdint>
#include <ctime>
#include <optional>
#include <string>

namespace Http
{
/// The time as HTTP writes it, put into words once a second at most. One thread.
class DateText
{
public:
    /// `time`: seconds since 1970, UTC. The text is valid until the next call.
    [[nodiscard]] const std::string& at(std::time_t time);

private:
    std::optional<std::time_t> m_time;
    std::string m_text;
};

/// What the head of an answer says beside its Response.
struct HeadFacts
{
    unsigned version = 11;               ///< 10 or 11, as the client speaks
    bool keepAlive = true;               ///< whether the connection serves another request
    std::optional<std::uint64_t> length; ///< of the body in bytes; nothing: it comes in chunks, to version 10 until the end
};

/// Appends status line, headers and the empty line after them. A header of the response takes the place of one that the server
/// adds, and of an earlier one of its name. Ends of lines in a value become spaces. Any thread.
void appendHead(std::string& text, const Response& response, const HeadFacts& facts, const std::string& date);
}
