#pragma once

#include "Result.hpp"

#include <QByteArray>
#include <QString>

namespace MediaServer {

/// An open file, read only; owns its descriptor. Move only.
class ContentFile {
public:
    ContentFile() = default;
    explicit ContentFile(int descriptor) : m_descriptor(descriptor) { }
    ContentFile(ContentFile&& other) noexcept : m_descriptor(other.release()) { }
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

/// The one folder whose files may be shown. Files are found by their bare name directly in it: no subfolders, no hidden
/// files, and no symbolic links, whose targets could lie anywhere. Nothing is cached, so the folder may be
/// exchanged while the server runs. Any thread.
class ContentFolder {
public:
    explicit ContentFolder(const QString& path);

    /// Opens the file of that name. The error is a sentence that names the file and may be shown to the sender.
    [[nodiscard]] Result<ContentFile> open(const QString& name) const;
    [[nodiscard]] bool contains(const QString& name) const;

    /// By the name's ending, in any case; "application/octet-stream" for everything that a browser should not open by
    /// itself, which includes HTML.
    [[nodiscard]] static QByteArray contentType(const QString& name);
    [[nodiscard]] static bool isPicture(const QString& name);

private:
    QByteArray m_path; ///< as the file system wants it
};

} // namespace MediaServer
