#include "recording/RecordFile.hpp"

#include <Bedrock/Trace.hpp>

#include <fcntl.h>
#include <pthread.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <system_error>

namespace Tactile::Recording
{
namespace
{
constexpr auto kBetweenSyncs = std::chrono::seconds(1);

std::string systemError(int number)
{
    return std::generic_category().message(number);
}

bool writeAll(int descriptor, const char* data, std::size_t size)
{
    while (size > 0) {
        const ssize_t written = ::write(descriptor, data, size);
        if (written < 0 && errno == EINTR)
            continue;
        if (written < 0)
            return false;
        data += written;
        size -= static_cast<std::size_t>(written);
    }
    return true;
}
}

std::unique_ptr<RecordFile> RecordFile::create(const std::string& file, std::string_view firstLine, std::string& error)
{
    std::unique_ptr<RecordFile> made(new RecordFile());
    made->m_file = file;
    made->m_descriptor = ::open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_APPEND | O_CLOEXEC, 0600);
    if (made->m_descriptor < 0) {
        error = "DatagramRecorder # Failed to make " + file + " (" + systemError(errno) + "); "
            + (errno == EEXIST ? "choose another name, or move that file away" : "choose a folder that can be written");
        return nullptr;
    }
    made->m_waiting.assign(firstLine.begin(), firstLine.end());
    // Signals are the main thread's business; a new thread inherits the mask.
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    try {
        made->m_thread = std::thread([records = made.get()] { records->run(); });
    } catch (const std::system_error& e) {
        error = std::string("DatagramRecorder # Failed to start its thread (") + e.what()
            + "); raise this machine's limit of threads";
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return made->m_thread.joinable() ? std::move(made) : nullptr;
}

RecordFile::~RecordFile()
{
    if (m_thread.joinable()) {
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_isEnding = true;
        }
        m_wake.notify_one();
        m_thread.join();
    }
    if (m_descriptor >= 0)
        ::close(m_descriptor);
}

void RecordFile::flush()
{
    m_wake.notify_one();
}

void RecordFile::stop(const std::string& why)
{
    m_isBroken = true;
    m_waiting.clear();
    Bedrock::Trace::error("DatagramRecorder # Failed to write %s (%s); the recording ends here, make room and begin another one",
                          m_file.c_str(), why.c_str());
}

void RecordFile::run()
{
    std::vector<char> writing;
    auto lastSync = std::chrono::steady_clock::now();
    std::unique_lock<std::mutex> lock(m_mutex);
    for (;;) {
        m_wake.wait(lock, [this] { return m_isEnding || !m_waiting.empty(); });
        if (m_waiting.empty())
            break;
        writing.swap(m_waiting);
        lock.unlock();
        bool isWritten = writeAll(m_descriptor, writing.data(), writing.size());
        const auto now = std::chrono::steady_clock::now();
        if (isWritten && now - lastSync >= kBetweenSyncs) {
            lastSync = now;
            isWritten = ::fdatasync(m_descriptor) == 0 || errno == EINVAL;
        }
        const int number = errno;
        writing.clear();
        lock.lock();
        if (!isWritten && !m_isBroken)
            stop(systemError(number));
    }
    lock.unlock();
    ::fdatasync(m_descriptor);
}
}
