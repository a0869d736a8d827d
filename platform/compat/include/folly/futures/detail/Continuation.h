#pragma once

#include <folly/Traits.h>
#include <folly/Try.h>
#include <folly/Unit.h>
#include <folly/futures/Promise.h>

#include <type_traits>
#include <utility>

namespace folly
{
namespace futures::detail
{
/// What a future of T, which a continuation returned, holds: T. Void becomes Unit.
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

// Declared for their result only: the type of the one parameter of a function, without reference and const.
template <class Result, class Argument>
tag_t<std::decay_t<Argument>> argumentOf(Result (*)(Argument));
template <class Result, class Class, class Argument>
tag_t<std::decay_t<Argument>> argumentOf(Result (Class::*)(Argument));
template <class Result, class Class, class Argument>
tag_t<std::decay_t<Argument>> argumentOf(Result (Class::*)(Argument) const);

/// Names the type of the one parameter of a function pointer or function object.
template <class F>
constexpr auto argumentTag()
{
    if constexpr (std::is_class_v<F>)
        return decltype(argumentOf(&F::operator()))();
    else
        return decltype(argumentOf(std::declval<F>()))();
}

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
}
