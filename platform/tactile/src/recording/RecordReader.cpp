#include "recording/RecordReader.hpp"

#include "recording/RecordingFormat.hpp"

#include <cerrno>
#include <filesystem>
#include <system_error>

namespace Tactile::Recording
{
bool RecordReader::open(const std::string& file, std::string_view firstWords, std::string& error)
{
    // Opening a pipe that has no writer would wait for ever.
    std::error_code none;
    if (const auto status = std::filesystem::status(file, none); std::filesystem::is_other(status)) {
        error = "DatagramPlayer # Failed to read " + file + " (a pipe or a device); save what it gives in a file and name that";
        return false;
    }
    m_stream.open(file, std::ios::binary);
    if (!m_stream) {
        error = "DatagramPlayer # Failed to read " + file + " (" + std::generic_category().message(errno)
            + "); check its name and rights";
        return false;
    }
    std::string line(firstWords.size() + kIdCharacters + 1, '\0');
    m_stream.read(line.data(), static_cast<std::streamsize>(line.size()));
    line.resize(static_cast<std::size_t>(m_stream.gcount()));
    const bool isWhole = line.size() == firstWords.size() + kIdCharacters + 1 && line.back() == '\n';
    if (!isWhole || line.compare(0, firstWords.size(), firstWords) != 0) {
        const bool isOther = line.compare(0, kFirstWord.size(), kFirstWord) == 0;
        error = "DatagramPlayer # Failed to read " + file
            + (isOther ? " (a recording of another version); replay it with the program that made it"
                       : " (no recording of a table); give a file that \"tavola run --record\" made");
        return false;
    }
    m_id = line.substr(firstWords.size(), kIdCharacters);
    m_place = line.size();
    return true;
}

RecordReader::Outcome RecordReader::next()
{
    char head[kHeadBytes];
    m_stream.read(head, sizeof head);
    if (m_stream.gcount() == 0)
        return Outcome::End;
    if (m_stream.gcount() < static_cast<std::streamsize>(sizeof head))
        return Outcome::Damage;
    Reader reader(head, sizeof head);
    const std::size_t size = reader.read32();
    const std::uint32_t sum = reader.read32();
    if (size == 0 || size > kMaxBody)
        return Outcome::Damage;
    m_body.resize(size);
    m_stream.read(m_body.data(), static_cast<std::streamsize>(size));
    if (m_stream.gcount() < static_cast<std::streamsize>(size) || checkSum(m_body.data(), size) != sum)
        return Outcome::Damage;
    m_place += sizeof head + size;
    return Outcome::Record;
}
}
