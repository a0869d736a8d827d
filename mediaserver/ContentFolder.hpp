#pragma once

#include <QByteArray>
#include <QString>

#include <tl/expected.hpp>

namespace MediaServer
{

/// An open file, read only; owns its descriptor. Move only.
class ContentFile
{
public:
    ContentFile() = default;
    explicit ContentFile(int descriptor) : m_descriptor(descriptor) {}
    ContentFile(ContentFile&& other) noexcept : m_descriptor(other.release()) {}
    ContentFile& operator=(ContentFile&& other) noexcept;
    ContentFile(const ContentFile&) = delete;
    ContentFile& operator=(const ContentFile&) = delete;
    ~ContentFile();

    [[nodiscard]] bool isOpen() const { return m_descriptor >= 0; }
    [[nodiscard]] int descriptor() const { return m_descriptor; }
    /// Gives the descriptor away; the caller closes it.
    [[nodiscard]] int release();

private:
    int m_descriptor = -1;
};

/// Why a file is not there to be sent.
struct ContentError
{
    enum class Kind {
        NoSuchFile, ///< no file of the folder has that name, or the name is none that may be given
        Unreadable, ///< there may be one, but the system does not let it be read now: the operator has to know
    };
    Kind kind;
    QString text;   ///< a sentence that names the file and may be shown to the sender
    QString reason; ///< for the log, of what is unreadable: the file and the system's words
};

/// The one folder whose files may be shown. Files are found by their bare name directly in it: no subfolders, no hidden
/// files, and no symbolic links, whose targets could lie anywhere. Nothing is cached, so the folder may be
/// exchanged while the server runs. Any thread.
class ContentFolder
{
public:
    explicit ContentFolder(const QString& path);

    [[nodiscard]] tl::expected<ContentFile, ContentError> open(const QString& name) const;

    /// By the name's ending, in any case; "application/octet-stream" for everything that a browser should not open by
    /// itself, which includes HTML.
    [[nodiscard]] static QByteArray contentType(const QString& name);
    [[nodiscard]] static bool isPicture(const QString& name);

private:
    QByteArray m_path; ///< as the file system wants it
};

} // namespace MediaServer
