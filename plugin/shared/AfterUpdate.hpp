#pragma once

#include <Bedrock/Trace.hpp>
#include <Cadence/TaskScheduler.hpp>

#include <folly/futures/Future.h>

#include <QByteArray>

#include <exception>
#include <utility>

namespace Tavola
{
/// The text of the exception that `result` failed with, as UTF-8: its own what() alone. Empty for what is no std::exception.
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
            // Nobody waits for the future of the callback: an exception that left it here would go unseen.
            try {
                callback(std::move(result));
            } catch (const std::exception& exception) {
                Bedrock::Trace::error("Tavola::afterUpdate # A result could not be handled (%s)", exception.what());
            }
        });
}
}
