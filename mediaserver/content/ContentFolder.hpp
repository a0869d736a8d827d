#pragma once

#include <Http/Message.hpp>

#include <QByteArray>
#include <QString>

#include <tl/expected.hpp>

namespace MediaServer
{

/// Why a file cannot be sent.
struct ContentError
{
    enum class Kind {
        NoSuchFile, ///< the folder has no such file, or the name is not allowed
        Unreadable, ///< the system refuses to read it, which the operator must mend
    };
    Kind kind;
    QString text;   ///< a sentence that names the file and may be shown to the sender
    QString reason; ///< for the log of an unreadable file: its name and the system's words
};

/// The one folder whose files may be shown. Files are found by their bare name directly in it: no subfolders, no hidden
/// files, and no symbolic links, whose targets could lie anywhere. Nothing is cached, so the folder may be
/// replaced while the server runs. Any thread.
class ContentFolder
{
public:
    explicit ContentFolder(const QString& path);

    [[nodiscard]] tl::expected<Http::File, ContentError> open(const QString& name) const;

    /// Whether a file of that name may be in the folder: no path, not hidden, no control characters.
    [[nodiscard]] static bool isBareName(const QString& name);
    /// By the name's ending, in any case; "application/octet-stream" for everything that a browser should not open by
    /// itself, which includes HTML.
    [[nodiscard]] static QByteArray contentType(const QString& name);
    [[nodiscard]] static bool isPicture(const QString& name);

private:
    QByteArray m_path; ///< in the file system's encoding
};

}
