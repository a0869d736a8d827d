#pragma once

#include <Bedrock/Guarded.hpp>
#include <Cadence/TaskScheduler.hpp>

#include <folly/futures/Future.h>

#include <QByteArray>

#include <exception>
#include <utility>

namespace Tavola
{
/// The text of the exception that `result` failed with, as UTF-8: its own what() alone. Empty for an exception of another type
/// than std::exception.
template <class T>
[[nodiscard]] QByteArray failureText(const folly::Try<T>& result)
{
    const auto* exception = result.template tryGetExceptionObject<std::exception>();
    return exception ? QByteArray(exception->what()) : QByteArray();
}

/// Calls `callback(folly::Try<T>&&)` on the main thread after the update of a coming frame, once `future` has its value or has
/// failed; never inside this call. The callback owns what it captures until then, so it captures weak pointers to widgets.
template <class T, class Callback>
void afterUpdate(folly::Future<T> future, Callback callback)
{
    (void)std::move(future)
        .via(Cadence::TaskScheduler::instance()->afterUpdate())
        .thenTry([callback = std::move(callback)](folly::Try<T>&& result) mutable {
            // The future of the callback is dropped, and an exception in it would go unseen.
            Bedrock::guarded("Tavola::afterUpdate # A result could not be handled", [&] { callback(std::move(result)); });
        });
}
}
