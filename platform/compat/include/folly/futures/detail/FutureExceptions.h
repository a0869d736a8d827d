#pragma once

#include <folly/CPortability.h>

#include <stdexcept>

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

class FOLLY_EXPORT FutureAlreadyContinued : public FutureException
{
public:
    FutureAlreadyContinued() : FutureException("Future already continued") {}
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
}
