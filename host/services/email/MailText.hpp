#pragma once

#include <QByteArray>
#include <QString>

namespace Host
{
/// Forms of the texts in a message's header that visitors type or files are named by.
namespace MailText
{
/// The address with its domain in ASCII, as mail servers expect it.
[[nodiscard]] QByteArray plainAddress(const QString& address);
/// The text on one line: every run of control characters and line ends becomes one blank.
[[nodiscard]] QString oneLine(const QString& text);
}
}
