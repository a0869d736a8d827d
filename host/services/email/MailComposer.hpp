#pragma once

#include <Tavola/EmailMessage.hpp>

#include <QString>
#include <QStringList>

#include <tl/expected.hpp>

#include <cstddef>
#include <optional>
#include <vector>

namespace Host
{
/// Composes a message into a finished file, which is sent as it stands.
///
///     multipart/mixed
///       text/plain, or multipart/alternative of text/plain and text/html
///       a file ...                                                          all of them in base64
///
/// Names, subjects and file names of any letters are encoded; line ends in them become blanks. The file has 7-bit characters only
/// (but for an address whose local part has others) and CR LF line ends. Hidden recipients are not named. Any thread.
namespace MailComposer
{
struct Letter
{
    QString messageId; ///< with its angle brackets
    qint64 createdMs = 0;
    Tavola::EmailAddress sender;
    QString subject;
    std::vector<Tavola::EmailMessage::Recipient> recipients;
    QString text;
    QString html;                                              ///< may be empty
    std::vector<Tavola::EmailMessage::Attachment> attachments; ///< read from their beginning, piece by piece
    QStringList languages{};                                   ///< of the recipient, the best first; for the texts of the service
    Tavola::EmailMessage::Collected collected{};
};
struct Fault
{
    QString words;
    /// The index of the attachment that cannot be read, or could keep the reader waiting, as a pipe could. Nothing: the file
    /// cannot be written, since the disk is full or broken.
    std::optional<std::size_t> attachment;
};

/// Writes the new file `path`, and returns its size in bytes; where that fails no file is left. Blocks for as long as reading and
/// writing take.
[[nodiscard]] tl::expected<qint64, Fault> compose(const Letter& letter, const QString& path);
}
}
