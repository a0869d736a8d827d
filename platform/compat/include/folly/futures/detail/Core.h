#pragma once

#include <folly/Executor.h>
#include <folly/Try.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <utility>

namespace folly
{
class FOLLY_EXPORT PromiseException : public std::logic_error
{
public:
    using std::logic_error::logic_error;
};

class FOLLY_EXPORT PromiseAlreadySatisfied : public PromiseException
{
public:
    PromiseAlreadySatisfied() : PromiseException("Promise already satisfied") {}
};

namespace futures::detail
{
/// What a promise and its future share: the result, what to do with it, and where. Waits for result and callback, then
/// runs the callback once: on the executor, or without one inside the call that brought the second of the two. Any thread.
/// A callback that its executor drops is destroyed at once, which breaks the promise it holds.
template <class T>
class Core
{
public:
    using Pointer = std::shared_ptr<Core>;
    /// Must not throw.
    using Callback = Function<void(Try<T>&&)>;

    /// Throws PromiseAlreadySatisfied the second time.
    static void setResult(Pointer core, Try<T>&& result)
    {
        bool isComplete = false;
        {
            const std::lock_guard<std::mutex> guard(core->m_mutex);
            if (core->m_hasResult)
                throw PromiseAlreadySatisfied();
            core->m_result = std::move(result);
            core->m_hasResult = true;
            isComplete = bool(core->m_callback);
            core->m_arrived.notify_all();
        }
        if (isComplete)
            dispatch(std::move(core));
    }

    /// At most once. The result belongs to the callback from here on.
    static void setCallback(Pointer core, Callback callback)
    {
        bool isComplete = false;
        {
            const std::lock_guard<std::mutex> guard(core->m_mutex);
            core->m_callback = std::move(callback);
            core->m_isContinued = true;
            isComplete = core->m_hasResult;
        }
        if (isComplete)
            dispatch(std::move(core));
    }

    [[nodiscard]] bool hasResult() const
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        return m_hasResult;
    }

    /// Whether a callback was set, run or not.
    [[nodiscard]] bool isContinued() const
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        return m_isContinued;
    }

    /// Only once hasResult(), and not once isContinued().
    [[nodiscard]] Try<T>& result() { return m_result; }

    void wait()
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_arrived.wait(lock, [this] { return m_hasResult; });
    }

    [[nodiscard]] bool waitFor(std::chrono::microseconds limit)
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        return m_arrived.wait_for(lock, limit, [this] { return m_hasResult; });
    }

    /// The executor belongs to the future's side and stays as it is once there is a callback.
    void setExecutor(Executor* executor) noexcept { m_executor = executor; }
    [[nodiscard]] Executor* executor() const noexcept { return m_executor; }

private:
    /// A claim on the completed core's callback. When the last claim goes and the callback has not run, it is destroyed.
    class Claim
    {
    public:
        explicit Claim(Pointer core) noexcept : m_core(std::move(core)) { ++m_core->m_claims; }
        Claim(Claim&&) noexcept = default;
        Claim& operator=(Claim&&) = delete;
        ~Claim()
        {
            if (m_core && --m_core->m_claims == 0)
                m_core->m_callback = nullptr;
        }

        void operator()() noexcept
        {
            Callback callback = std::move(m_core->m_callback);
            Try<T> result = std::move(m_core->m_result);
            callback(std::move(result));
        }

        void fail(exception_wrapper exception) noexcept
        {
            m_core->m_result = Try<T>(std::move(exception));
            (*this)();
        }

    private:
        Pointer m_core;
    };

    static void dispatch(Pointer core)
    {
        Executor* executor = core->m_executor;
        // Kept while adding, so that the callback receives what the executor throws.
        Claim claim(core);
        if (!executor) {
            claim();
            return;
        }
        try {
            executor->add(Claim(std::move(core)));
        } catch (...) {
            claim.fail(exception_wrapper(std::current_exception()));
        }
    }

    mutable std::mutex m_mutex;
    std::condition_variable m_arrived;
    Try<T> m_result;
    Callback m_callback;
    Executor* m_executor = nullptr;
    std::atomic<int> m_claims{0};
    bool m_hasResult = false;
    bool m_isContinued = false;
};
}
}
