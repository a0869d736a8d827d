#pragma once

#include <folly/Try.h>
#include <folly/futures/detail/Core.h>
#include <folly/lang/Pretty.h>

#include <memory>
#include <string>
#include <type_traits>
#include <utility>

namespace folly
{
template <class T>
class Future;

class FOLLY_EXPORT PromiseInvalid : public PromiseException
{
public:
    PromiseInvalid() : PromiseException("Promise invalid") {}
};

class FOLLY_EXPORT FutureAlreadyRetrieved : public PromiseException
{
public:
    FutureAlreadyRetrieved() : PromiseException("Future already retrieved") {}
};

/// What the future of a promise fails with that was destroyed without an answer.
class FOLLY_EXPORT BrokenPromise : public PromiseException
{
public:
    explicit BrokenPromise(const std::string& type) : PromiseException("Broken promise for type name `" + type + "`") {}
    explicit BrokenPromise(const char* type) : BrokenPromise(std::string(type)) {}
};

/// The side that answers. One answer, one future, in whichever order, on any thread. `getFuture` needs <folly/futures/Future.h>.
template <class T>
class Promise
{
public:
    Promise() : m_core(std::make_shared<Core>()) {}
    Promise(Promise&& other) noexcept : m_core(std::move(other.m_core)), m_isRetrieved(std::exchange(other.m_isRetrieved, false))
    {
    }
    Promise& operator=(Promise&& other) noexcept
    {
        if (this != &other) {
            breakIfUnfulfilled();
            m_core = std::move(other.m_core);
            m_isRetrieved = std::exchange(other.m_isRetrieved, false);
        }
        return *this;
    }
    ~Promise() { breakIfUnfulfilled(); }

    /// A promise as a moved-from one is.
    [[nodiscard]] static Promise makeEmpty() noexcept { return Promise(nullptr); }

    /// The future, once; after that throws FutureAlreadyRetrieved.
    [[nodiscard]] Future<T> getFuture();

    // Each throws PromiseAlreadySatisfied when there is an answer already.
    void setTry(Try<T>&& result)
    {
        requireCore();
        Core::setResult(m_core, std::move(result));
    }
    template <class Value>
    void setValue(Value&& value)
    {
        setTry(Try<T>(std::forward<Value>(value)));
    }
    template <class U = T, class = std::enable_if_t<std::is_same_v<U, Unit>>>
    void setValue()
    {
        setTry(Try<T>(Unit{}));
    }
    void setException(exception_wrapper exception) { setTry(Try<T>(std::move(exception))); }
    template <class Ex, class = std::enable_if_t<std::is_base_of_v<std::exception, Ex>>>
    void setException(const Ex& exception)
    {
        setException(make_exception_wrapper<Ex>(exception));
    }
    /// Answers with what `function()` returns or throws.
    template <class F>
    void setWith(F&& function)
    {
        if (isFulfilled() && valid())
            throw PromiseAlreadySatisfied();
        setTry(detail::tryCall(std::forward<F>(function)));
    }

    [[nodiscard]] bool valid() const noexcept { return m_core != nullptr; }
    [[nodiscard]] bool isFulfilled() const noexcept { return !m_core || m_core->hasResult(); }

private:
    using Core = futures::detail::Core<T>;

    explicit Promise(std::nullptr_t) noexcept {}

    void requireCore() const
    {
        if (!m_core)
            throw PromiseInvalid();
    }

    void breakIfUnfulfilled() noexcept
    {
        if (m_core && !m_core->hasResult())
            Core::setResult(std::move(m_core), Try<T>(make_exception_wrapper<BrokenPromise>(pretty_name<T>())));
        m_core.reset();
    }

    std::shared_ptr<Core> m_core;
    bool m_isRetrieved = false;
};
}
