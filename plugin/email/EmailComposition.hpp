#pragma once

#include <Tavola/EmailMessage.hpp>
#include <Tavola/FileRepresentation.hpp>

#include <QList>
#include <QString>

#include <boost/expected.hpp>

namespace Tavola
{
/// A file or link of an e-mail.
struct Attachment
{
    QString path;        ///< a local file, or a link
    bool isLink = false; ///< true: written into the body; false: attached where the path is absolute

    friend bool operator==(const Attachment& a, const Attachment& b) { return a.path == b.path && a.isLink == b.isLink; }
};

/// The attachments of a content, in this order: its files, its sources as links, its address as a link; its main file only where
/// there is nothing else. Never empty.
[[nodiscard]] QList<Attachment> parseAttachments(const FileRepresentation::FileData& data);

/// A message to one recipient, from the default e-mail service's template: files attached, links in place of "<links>" (at the
/// end where the template has none), `name` in place of "<name>". A file that cannot be opened is left out with a warning. The
/// error is a text: there is no e-mail service, or no application. Main thread.
[[nodiscard]] boost::expected<EmailMessage, QString> createMessage(const QList<Attachment>& attachments, const QString& name,
                                                                   const QString& address);

/// Logs that a message could not be sent, at error level.
void printEmailError(const QString& error, const QString& address);
}
