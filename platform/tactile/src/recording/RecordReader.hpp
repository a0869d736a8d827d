#pragma once

#include <cstdint>
#include <fstream>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Tactile::Recording
{
/// Reads a file of records one after the other. Main thread only.
class RecordReader
{
public:
    enum class Outcome { Record, End, Damage };

    /// False, with the reason in `error`, for a file that cannot be read or whose first line is not `firstWords` and an id.
    [[nodiscard]] bool open(const std::string& file, std::string_view firstWords, std::string& error);
    /// What the first line names the recording by: 16 characters.
    [[nodiscard]] const std::string& id() const noexcept { return m_id; }

    [[nodiscard]] Outcome next();
    /// Of the record that was read last: its kind, then what belongs to it. Never empty.
    [[nodiscard]] const std::vector<char>& body() const noexcept { return m_body; }
    /// Of the record to come, in bytes from the beginning of the file.
    [[nodiscard]] std::uint64_t place() const noexcept { return m_place; }

private:
    std::ifstream m_stream;
    std::string m_id;
    std::vector<char> m_body;
    std::uint64_t m_place = 0;
};
}
