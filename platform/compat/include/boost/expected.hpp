#pragma once

#include <tl/expected.hpp>

/// A value or the reason why there is none.
///
///     boost::expected<int, QString> parse(const QString& text);
///     return boost::make_unexpected(QStringLiteral("not a number"));
namespace boost
{
using tl::bad_expected_access;
using tl::expected;
using tl::make_unexpected;
using tl::unexpect;
using tl::unexpect_t;
using tl::unexpected;
}
