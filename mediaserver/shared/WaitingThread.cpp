#include "WaitingThread.hpp"

#include <memory>
#include <utility>

namespace MediaServer
{

bool WaitingThread::add(Task task)
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    if (m_isClosed || m_waiting >= m_mostWaiting)
        return false;
    ++m_waiting;
    m_pool.add([this, task = std::move(task)] {
        // Also after a task that throws.
        const auto ended = [this](const void*) {
            const std::lock_guard<std::mutex> endGuard(m_mutex);
            --m_waiting;
        };
        const std::unique_ptr<const void, decltype(ended)> end(this, ended);
        task();
    });
    return true;
}

void WaitingThread::post(Task task)
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    if (!m_isClosed)
        m_pool.add(std::move(task));
}

void WaitingThread::close()
{
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        m_isClosed = true;
    }
    m_pool.shutdown();
}

}
