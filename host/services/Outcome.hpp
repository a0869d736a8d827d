#pragma once

#include <folly/futures/Promise.h>

#include <QByteArray>

#include <exception>
#include <stdexcept>

namespace Host
{
/// What came of a request to a service, as the bytes that the inbox delivers: a mark, then a value or a text.
namespace Outcome
{
constexpr char kValue = 'V';
constexpr char kRefusal = 'R';   ///< then the words of the service
constexpr char kException = 'E'; ///< then its text

template <class T>
[[nodiscard]] QByteArray failure(const folly::Try<T>& outcome)
{
    const auto* exception = outcome.template tryGetExceptionObject<std::exception>();
    return kException + QByteArray(exception ? exception->what() : "unknown exception");
}

/// Fails the promise with the text of the exception.
template <class T>
void fail(folly::Promise<T>& promise, const QByteArray& bytes)
{
    promise.setException(std::runtime_error(bytes.mid(1).toStdString()));
}
}
}
