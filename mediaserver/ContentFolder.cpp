#include "ContentFolder.hpp"

#include <QFile>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace MediaServer {

namespace {

struct Type {
    const char* ending;
    const char* contentType;
};

constexpr Type kTypes[] = {
    { "avif", "image/avif" },
    { "bmp", "image/bmp" },
    { "gif", "image/gif" },
    { "jpeg", "image/jpeg" },
    { "jpg", "image/jpeg" },
    { "png", "image/png" },
    { "svg", "image/svg+xml" },
    { "webp", "image/webp" },
    { "pdf", "application/pdf" },
    { "txt", "text/plain; charset=utf-8" },
    { "mp3", "audio/mpeg" },
    { "oga", "audio/ogg" },
    { "ogg", "audio/ogg" },
    { "wav", "audio/wav" },
    { "m4v", "video/mp4" },
    { "mov", "video/quicktime" },
    { "mp4", "video/mp4" },
    { "webm", "video/webm" },
};

bool isBareName(const QString& name)
{
    if (name.isEmpty() || name.startsWith(QLatin1Char('.')))
        return false;
    for (const QChar c : name) {
        if (c == QLatin1Char('/') || c == QLatin1Char('\\') || c.unicode() < 0x20 || c.unicode() == 0x7f)
            return false;
    }
    return true;
}

} // namespace

ContentFile& ContentFile::operator=(ContentFile&& other) noexcept
{
    if (this != &other) {
        ContentFile old(release());
        m_descriptor = other.release();
    }
    return *this;
}

ContentFile::~ContentFile()
{
    if (isOpen())
        ::close(m_descriptor);
}

int ContentFile::release()
{
    return std::exchange(m_descriptor, -1);
}

ContentFolder::ContentFolder(const QString& path)
    : m_path(QFile::encodeName(path))
{
}

Result<ContentFile> ContentFolder::open(const QString& name) const
{
    if (!isBareName(name)) {
        return tl::unexpected(
            QStringLiteral("\"%1\" is not the bare name of a file: send a name without folders.").arg(name));
    }
    const int folder = ::open(m_path.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder < 0)
        return tl::unexpected(QStringLiteral("The content folder cannot be read, so \"%1\" was not found.").arg(name));
    // O_NOFOLLOW decides about symbolic links in the same step that opens the file, so none can be slipped in between.
    // O_NONBLOCK keeps a named pipe from holding the server.
    ContentFile file(::openat(folder, QFile::encodeName(name).constData(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    ::close(folder);

    struct stat status;
    if (!file.isOpen() || ::fstat(file.descriptor(), &status) != 0 || !S_ISREG(status.st_mode))
        return tl::unexpected(QStringLiteral("There is no file \"%1\" in the content folder.").arg(name));
    return file;
}

bool ContentFolder::contains(const QString& name) const
{
    return open(name).has_value();
}

QByteArray ContentFolder::contentType(const QString& name)
{
    const QString ending = name.section(QLatin1Char('.'), -1).toLower();
    for (const Type& type : kTypes) {
        if (ending == QLatin1String(type.ending))
            return type.contentType;
    }
    return "application/octet-stream";
}

bool ContentFolder::isPicture(const QString& name)
{
    return contentType(name).startsWith("image/");
}

} // namespace MediaServer
