#pragma once

#include "recording/RecordingFormat.hpp"

#include <condition_variable>
#include <cstddef>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace Tactile::Recording
{
/// A file of records that is being written by a thread of its own. It grows record by record and is on the disk within a second
/// or so. When the disk is full or too slow the file ends there, with an error in the log. All functions: any thread.
class RecordFile
{
public:
    /// Null, with the reason in `error`, when the file cannot be made. A file that exists is not touched. Only the user that the
    /// program runs as may read it.
    [[nodiscard]] static std::unique_ptr<RecordFile> create(const std::string& file, std::string_view firstLine,
                                                            std::string& error);
    /// Writes what is left, and waits until it is on the disk.
    ~RecordFile();
    RecordFile(const RecordFile&) = delete;
    RecordFile& operator=(const RecordFile&) = delete;

    /// `write(Writer&)` adds the record's body. It is written with the next flush(), or at the end.
    template <class Write>
    void add(Kind kind, Write write)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (m_isBroken)
            return;
        if (m_waiting.size() > kMaxWaitingBytes)
            return stop("the disk is too slow");
        const std::size_t before = m_waiting.size();
        Writer writer(m_waiting);
        writer.begin(kind);
        write(writer);
        if (m_waiting.size() - before > kMaxBody)
            return stop("a record is too large");
        writer.end();
    }
    void flush();

private:
    // Half a minute of a flood of datagrams. A recording with holes would be none.
    static constexpr std::size_t kMaxWaitingBytes = std::size_t(64) << 20;

    RecordFile() = default;
    /// With the mutex locked.
    void stop(const std::string& why);
    void run();

    std::string m_file;
    int m_descriptor = -1;
    std::mutex m_mutex;
    std::condition_variable m_wake;
    // Guarded by the mutex.
    std::vector<char> m_waiting;
    bool m_isEnding = false;
    bool m_isBroken = false;

    std::thread m_thread;
};
}
