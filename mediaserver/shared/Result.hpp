#pragma once

#include <QString>
#include <tl/expected.hpp>

namespace MediaServer
{

/// A value, or a sentence for the operator about what failed.
template <class T>
using Result = tl::expected<T, QString>;

}
