#pragma once

#include <Tavola/EmailAddress.hpp>

#include <QByteArray>
#include <QString>

class QDateTime;

namespace Host
{
/// Texts of people as they may stand in a message's header. No result holds a line end that is not followed by a blank, so no
/// text can begin a header line of its own; lines are short enough for every server.
namespace MailHeader
{
/// Whether a text has the form of one mailbox, "ann@example.org". Says nothing about whether it exists.
[[nodiscard]] bool isMailAddress(const QString& text);
/// The address with its domain in the letters that servers know.
[[nodiscard]] QByteArray plainAddress(const QString& address);

/// On one line: every run of control characters and line ends has become one blank.
[[nodiscard]] QString oneLine(const QString& text);
/// For a subject.
[[nodiscard]] QByteArray text(const QString& text);
/// For From, To and Cc: name and address.
[[nodiscard]] QByteArray mailbox(const Tavola::EmailAddress& address);
/// A parameter of a field, for example `filename`, in as many pieces as its length needs. Begins with a semicolon.
[[nodiscard]] QByteArray parameter(const QByteArray& name, const QString& value);
/// For Date.
[[nodiscard]] QByteArray date(const QDateTime& time);
/// A type as "image/png"; "application/octet-stream" for what is none.
[[nodiscard]] QByteArray mimeType(const QString& type);
}
}
