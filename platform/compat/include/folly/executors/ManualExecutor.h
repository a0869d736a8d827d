#pragma once

#include <folly/Executor.h>

#include <deque>
#include <mutex>
#include <utility>

namespace folly
{
/// Queues functions. `run` and `drain` run them in order, on the calling thread; `add` may be called on any thread.
class FOLLY_EXPORT ManualExecutor : public Executor
{
public:
    ManualExecutor() = default;
    ManualExecutor(const ManualExecutor&) = delete;
    ManualExecutor& operator=(const ManualExecutor&) = delete;
    /// Runs what is still queued.
    ~ManualExecutor() override { drain(); }

    void add(Func function) override
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        m_functions.push_back(std::move(function));
    }

    /// Runs what is queued now, not what is added meanwhile. Returns the number of functions run.
    std::size_t run()
    {
        std::size_t count = 0;
        {
            const std::lock_guard<std::mutex> guard(m_mutex);
            count = m_functions.size();
        }
        std::size_t ran = 0;
        while (ran < count && runNext())
            ++ran;
        return ran;
    }

    /// Runs until the queue is empty. Returns the number of functions run.
    std::size_t drain()
    {
        std::size_t ran = 0;
        while (runNext())
            ++ran;
        return ran;
    }

    /// Destroys what is queued without running it.
    void clear()
    {
        std::deque<Func> dropped;
        const std::lock_guard<std::mutex> guard(m_mutex);
        dropped.swap(m_functions);
    }

private:
    bool runNext()
    {
        Func function;
        {
            const std::lock_guard<std::mutex> guard(m_mutex);
            if (m_functions.empty())
                return false;
            function = std::move(m_functions.front());
            m_functions.pop_front();
        }
        function();
        return true;
    }

    std::mutex m_mutex;
    std::deque<Func> m_functions;
};
}
