#pragma once

#include <folly/Executor.h>
#include <folly/Traits.h>
#include <folly/Try.h>
#include <folly/Unit.h>
#include <folly/futures/Promise.h>
#include <folly/futures/detail/Continuation.h>
#include <folly/futures/detail/FutureExceptions.h>

#include <chrono>
#include <exception>
#include <memory>
#include <type_traits>
#include <utility>

namespace folly
{
/// The side that waits for the answer of a Promise. Moved, never copied; continued once, after which only `valid` and
/// `isReady` may be asked (all else throws FutureAlreadyContinued).
/// Continuations run on the executor given by `via`, otherwise inside the call that brings the answer (or, when that is
/// there already, inside the call that adds the continuation). They may return a value, a future of one, or nothing. The
/// answer of a returned future takes a step of that future's executor first, if it has one.
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
        requireUncontinued();
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

    /// `thenValue` or `thenTry` under the name of older folly: `function` takes the value, the Try, or nothing.
    template <class F>
    auto then(F&& function) &&
    {
        using Callable = std::decay_t<F>;
        if constexpr (std::is_invocable_v<Callable>) {
            return std::move(*this).thenValue([f = Callable(std::forward<F>(function))](T&&) mutable { return std::move(f)(); });
        } else if constexpr (std::is_invocable_v<Callable, T&&>) {
            return std::move(*this).thenValue(std::forward<F>(function));
        } else {
            return std::move(*this).thenTry(std::forward<F>(function));
        }
    }

    /// `thenError` under the name of older folly: the parameter of `function` is exception_wrapper, or names the exception.
    template <class F>
    Future onError(F&& function) &&
    {
        return std::move(*this).onErrorOf(std::forward<F>(function), futures::detail::argumentTag<std::decay_t<F>>());
    }

    /// False once it was moved from; nearly everything else then throws FutureInvalid.
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

    /// Blocks until the answer is there. Must not be called on the main thread.
    T get() &&
    {
        requireUncontinued();
        m_core->wait();
        return takeResult().value();
    }
    /// As `get`; throws FutureTimeout after `limit`.
    T get(std::chrono::microseconds limit) &&
    {
        requireUncontinued();
        if (!m_core->waitFor(limit))
            throw FutureTimeout();
        return takeResult().value();
    }
    Future& wait() &
    {
        requireUncontinued();
        m_core->wait();
        return *this;
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

    void requireUncontinued() const
    {
        requireCore();
        if (m_core->isContinued())
            throw FutureAlreadyContinued();
    }

    Try<T>& readyResult() const
    {
        requireUncontinued();
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
        requireUncontinued();
        Promise<Value> promise;
        Future<Value> future = promise.getFuture();
        future.m_core->setExecutor(m_core->executor());
        Core::setCallback(m_core, [s = std::move(step), p = std::move(promise)](Try<T>&& result) mutable {
            s(std::move(result), std::move(p));
        });
        return future;
    }

    template <class F>
    Future onErrorOf(F&& function, tag_t<exception_wrapper>) &&
    {
        return std::move(*this).thenError(std::forward<F>(function));
    }
    template <class F, class Argument>
    Future onErrorOf(F&& function, tag_t<Argument> exception) &&
    {
        return std::move(*this).thenError(exception, std::forward<F>(function));
    }

    /// Hands the answer on to `promise`, in a step of this future's executor.
    void answer(Promise<T> promise)
    {
        if (!m_core) {
            promise.setException(FutureInvalid());
            return;
        }
        if (m_core->isContinued()) {
            promise.setException(FutureAlreadyContinued());
            return;
        }
        Core::setCallback(m_core, [p = std::move(promise)](Try<T>&& result) mutable { p.setTry(std::move(result)); });
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
