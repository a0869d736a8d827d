#pragma once

#include <Tavola/EmailMessage.hpp>

#include <QString>
#include <QStringList>

#include <cstddef>
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
};
struct Result
{
    enum class Kind {
        Done,       ///< the file is on the disk
        Unreadable, ///< an attachment cannot be read, or could keep the reader waiting, as a pipe could
        DiskFault   ///< the file cannot be written: the disk is full or broken
    };
    Kind kind = Kind::Done;
    QString words;              ///< why not
    std::size_t attachment = 0; ///< the index of the one that is unreadable
    qint64 sizeBytes = 0;       ///< of the file
};

/// Writes the new file `path`; where that fails no file is left. Blocks for as long as reading and writing take.
[[nodiscard]] Result compose(const Letter& letter, const QString& path);
}
}
