#pragma once

#include <folly/Executor.h>
#include <folly/Traits.h>
#include <folly/Try.h>
#include <folly/Unit.h>
#include <folly/futures/Promise.h>

#include <chrono>
#include <exception>
#include <memory>
#include <stdexcept>
#include <type_traits>
#include <utility>

namespace folly
{
class FOLLY_EXPORT FutureException : public std::logic_error
{
public:
    using std::logic_error::logic_error;
};

class FOLLY_EXPORT FutureInvalid : public FutureException
{
public:
    FutureInvalid() : FutureException("Future invalid") {}
};

class FOLLY_EXPORT FutureNotReady : public FutureException
{
public:
    FutureNotReady() : FutureException("Future not ready") {}
};

class FOLLY_EXPORT FutureTimeout : public FutureException
{
public:
    FutureTimeout() : FutureException("Timed out") {}
};

namespace futures::detail
{
template <class T>
struct Unwrapped
{
    using Type = lift_unit_t<T>;
    static constexpr bool kIsFuture = false;
};

template <class T>
struct Unwrapped<Future<T>>
{
    using Type = T;
    static constexpr bool kIsFuture = true;
};

/// What the future of a continuation holds: the value returned, that of a returned future, or Unit for void.
template <class F, class... Args>
using ContinuationValue = typename Unwrapped<std::invoke_result_t<F, Args...>>::Type;

/// Calls `function` and answers `promise` with the outcome, when it is there. What the function holds is destroyed first.
template <class T, class F, class... Args>
void answerWith(Promise<T> promise, F& function, Args&&... args)
{
    auto outcome = [&] {
        F once = std::move(function);
        return folly::detail::tryCall(std::move(once), std::forward<Args>(args)...);
    }();
    if constexpr (Unwrapped<std::invoke_result_t<F, Args...>>::kIsFuture) {
        if (outcome.hasException())
            promise.setException(std::move(outcome).exception());
        else
            std::move(outcome).value().answer(std::move(promise));
    } else {
        promise.setTry(std::move(outcome));
    }
}
}

/// The side that waits for the answer of a Promise. Moved, never copied; a continuation uses the future up.
/// Continuations run on the executor given by `via`, otherwise inside the call that brings the answer (or, when that is
/// there already, inside the call that adds the continuation). They may return a value, a future of one, or nothing.
template <class T>
class [[nodiscard]] Future
{
public:
    using value_type = T;

    Future(Future&&) noexcept = default;
    Future& operator=(Future&&) noexcept = default;

    /// A future as a moved-from one is.
    static Future makeEmpty() noexcept { return Future(nullptr); }

    /// Continuations from here on run on `executor`, which must outlive them.
    Future via(Executor* executor) &&
    {
        requireCore();
        m_core->setExecutor(executor);
        return std::move(*this);
    }

    /// Calls `function(T&&)` with the value; a failure passes it by.
    template <class F>
    auto thenValue(F&& function) && -> Future<futures::detail::ContinuationValue<std::decay_t<F>, T&&>>
    {
        using Value = futures::detail::ContinuationValue<std::decay_t<F>, T&&>;
        return std::move(*this).template continueWith<Value>(
            [f = std::decay_t<F>(std::forward<F>(function))](Try<T>&& result, Promise<Value> promise) mutable {
                if (result.hasValue())
                    futures::detail::answerWith(std::move(promise), f, std::move(result).value());
                else
                    promise.setException(std::move(result).exception());
            });
    }

    /// Calls `function(Try<T>&&)` with value or failure.
    template <class F>
    auto thenTry(F&& function) && -> Future<futures::detail::ContinuationValue<std::decay_t<F>, Try<T>&&>>
    {
        using Value = futures::detail::ContinuationValue<std::decay_t<F>, Try<T>&&>;
        return std::move(*this).template continueWith<Value>(
            [f = std::decay_t<F>(std::forward<F>(function))](Try<T>&& result, Promise<Value> promise) mutable {
                futures::detail::answerWith(std::move(promise), f, std::move(result));
            });
    }

    /// Calls `function(Ex&)` when the failure is an Ex; it returns a T or Future<T> instead. All else passes it by.
    template <class Ex, class F>
    Future thenError(tag_t<Ex>, F&& function) &&
    {
        static_assert(std::is_same_v<futures::detail::ContinuationValue<std::decay_t<F>, Ex&>, T>,
                      "An error continuation returns T or Future<T>");
        return std::move(*this).template continueWith<T>(
            [f = std::decay_t<F>(std::forward<F>(function))](Try<T>&& result, Promise<T> promise) mutable {
                if (Ex* exception = result.template tryGetExceptionObject<Ex>())
                    futures::detail::answerWith(std::move(promise), f, *exception);
                else
                    promise.setTry(std::move(result));
            });
    }

    /// Calls `function(exception_wrapper)` for any failure; it returns a T or Future<T> instead.
    template <class F>
    Future thenError(F&& function) &&
    {
        static_assert(std::is_same_v<futures::detail::ContinuationValue<std::decay_t<F>, exception_wrapper&&>, T>,
                      "An error continuation returns T or Future<T>");
        return std::move(*this).template continueWith<T>(
            [f = std::decay_t<F>(std::forward<F>(function))](Try<T>&& result, Promise<T> promise) mutable {
                if (result.hasException())
                    futures::detail::answerWith(std::move(promise), f, std::move(result).exception());
                else
                    promise.setTry(std::move(result));
            });
    }

    /// False once it was moved from or continued; nearly everything else then throws FutureInvalid.
    [[nodiscard]] bool valid() const noexcept { return m_core != nullptr; }
    [[nodiscard]] bool isReady() const
    {
        requireCore();
        return m_core->hasResult();
    }

    // These throw FutureNotReady before the answer is there.
    [[nodiscard]] bool hasValue() const { return result().hasValue(); }
    [[nodiscard]] bool hasException() const { return result().hasException(); }
    Try<T>& result() & { return readyResult(); }
    const Try<T>& result() const& { return readyResult(); }
    Try<T>&& result() && { return std::move(readyResult()); }
    /// The value, or the failure thrown.
    T& value() & { return result().value(); }
    const T& value() const& { return result().value(); }
    T&& value() && { return std::move(readyResult()).value(); }

    /// Blocks until the answer is there: never on a thread that has a table to draw.
    T get() &&
    {
        requireCore();
        m_core->wait();
        return takeResult().value();
    }
    /// As `get`; throws FutureTimeout after `limit`.
    T get(std::chrono::microseconds limit) &&
    {
        requireCore();
        if (!m_core->waitFor(limit))
            throw FutureTimeout();
        return takeResult().value();
    }
    Future& wait() &
    {
        requireCore();
        m_core->wait();
        return *this;
    }

    [[nodiscard]] Executor* getExecutor() const
    {
        requireCore();
        return m_core->executor();
    }

private:
    template <class U>
    friend class Future;
    friend class Promise<T>;
    template <class U, class F, class... Args>
    friend void futures::detail::answerWith(Promise<U> promise, F& function, Args&&... args);
    using Core = futures::detail::Core<T>;

    explicit Future(std::shared_ptr<Core> core) noexcept : m_core(std::move(core)) {}

    void requireCore() const
    {
        if (!m_core)
            throw FutureInvalid();
    }

    Try<T>& readyResult() const
    {
        requireCore();
        if (!m_core->hasResult())
            throw FutureNotReady();
        return m_core->result();
    }

    Try<T> takeResult()
    {
        const std::shared_ptr<Core> core = std::move(m_core);
        return std::move(core->result());
    }

    /// One hop: `step` is given the result and the promise of the future returned, which keeps the executor.
    template <class Value, class Step>
    Future<Value> continueWith(Step step) &&
    {
        requireCore();
        Promise<Value> promise;
        Future<Value> future = promise.getFuture();
        future.m_core->setExecutor(m_core->executor());
        Core::setCallback(std::move(m_core), [s = std::move(step), p = std::move(promise)](Try<T>&& result) mutable {
            s(std::move(result), std::move(p));
        });
        return future;
    }

    /// Hands the answer on to `promise`, without a stop at an executor: the receiver's future has its own.
    void answer(Promise<T> promise)
    {
        if (!m_core) {
            promise.setException(FutureInvalid());
            return;
        }
        m_core->setExecutor(nullptr);
        Core::setCallback(std::move(m_core), [p = std::move(promise)](Try<T>&& result) mutable { p.setTry(std::move(result)); });
    }

    std::shared_ptr<Core> m_core;
};

template <class T>
Future<T> Promise<T>::getFuture()
{
    requireCore();
    if (std::exchange(m_isRetrieved, true))
        throw FutureAlreadyRetrieved();
    return Future<T>(m_core);
}

/// A future that has its answer already.
template <class T>
Future<T> makeFuture(Try<T> result)
{
    Promise<T> promise;
    promise.setTry(std::move(result));
    return promise.getFuture();
}

template <class T>
Future<std::decay_t<T>> makeFuture(T&& value)
{
    return makeFuture(Try<std::decay_t<T>>(std::forward<T>(value)));
}

inline Future<Unit> makeFuture()
{
    return makeFuture(Unit{});
}

template <class T>
Future<T> makeFuture(exception_wrapper exception)
{
    return makeFuture(Try<T>(std::move(exception)));
}

template <class T, class Ex>
std::enable_if_t<std::is_base_of_v<std::exception, Ex>, Future<T>> makeFuture(const Ex& exception)
{
    return makeFuture<T>(make_exception_wrapper<Ex>(exception));
}

/// A ready future of nothing whose continuations run on `executor`.
inline Future<Unit> via(Executor* executor)
{
    return makeFuture().via(executor);
}

/// Runs `function()` on `executor`; the future of what it returns.
template <class F>
auto via(Executor* executor, F&& function)
{
    return via(executor).thenValue([f = std::decay_t<F>(std::forward<F>(function))](Unit) mutable { return std::move(f)(); });
}

/// Calls `function()` now; the future of what it returns or throws.
template <class F>
auto makeFutureWith(F&& function) -> Future<futures::detail::ContinuationValue<F>>
{
    using Value = futures::detail::ContinuationValue<F>;
    Promise<Value> promise;
    Future<Value> future = promise.getFuture();
    auto step = [&function] { return std::forward<F>(function)(); };
    futures::detail::answerWith(std::move(promise), step);
    return future;
}
}
