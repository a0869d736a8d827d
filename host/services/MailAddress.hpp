#pragma once

#include <QString>

namespace Host
{
/// Whether a text has the form of one mailbox, "ann@example.org", by the syntax of RFC 5321 and 5322 without comments, quoted
/// names and address literals; letters of all scripts are allowed (RFC 6531). Says nothing about whether the mailbox exists. Any
/// thread.
[[nodiscard]] bool isMailAddress(const QString& text);
}
