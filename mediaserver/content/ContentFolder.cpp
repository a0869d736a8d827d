#include "ContentFolder.hpp"

#include <QFile>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace MediaServer
{

namespace
{

struct Type
{
    const char* ending;
    const char* contentType;
};

constexpr Type kTypes[] = {
    {"avif", "image/avif"},     {"bmp", "image/bmp"},
    {"gif", "image/gif"},       {"jpeg", "image/jpeg"},
    {"jpg", "image/jpeg"},      {"png", "image/png"},
    {"svg", "image/svg+xml"},   {"webp", "image/webp"},
    {"pdf", "application/pdf"}, {"txt", "text/plain; charset=utf-8"},
    {"mp3", "audio/mpeg"},      {"oga", "audio/ogg"},
    {"ogg", "audio/ogg"},       {"wav", "audio/wav"},
    {"m4v", "video/mp4"},       {"mov", "video/quicktime"},
    {"mp4", "video/mp4"},       {"webm", "video/webm"},
};

/// Whether opening a file failed because no file that may be shown has this name. ELOOP is a symbolic link,
/// ENXIO a socket; the last ones are names that the file system cannot have.
bool meansNoSuchFile(int error)
{
    switch (error) {
    case ENOENT:
    case ENOTDIR:
    case ELOOP:
    case ENXIO:
    case ENAMETOOLONG:
    case EINVAL:
    case EILSEQ: return true;
    default: return false;
    }
}

tl::unexpected<ContentError> noSuchFile(const QString& name)
{
    return tl::unexpected(ContentError{
        ContentError::Kind::NoSuchFile, QStringLiteral("There is no file \"%1\" in the content folder.").arg(name), {}});
}

tl::unexpected<ContentError> unreadable(const QString& name, const QString& what, int error)
{
    const QString words = QString::fromStdString(std::generic_category().message(error));
    return tl::unexpected(
        ContentError{ContentError::Kind::Unreadable,
                     QStringLiteral("The media server cannot read \"%1\" at the moment. Try again later.").arg(name),
                     QStringLiteral("%1: %2").arg(what, words)});
}

}

ContentFolder::ContentFolder(const QString& path) : m_path(QFile::encodeName(path)) {}

tl::expected<Http::File, ContentError> ContentFolder::open(const QString& name) const
{
    if (!isBareName(name)) {
        return tl::unexpected(
            ContentError{ContentError::Kind::NoSuchFile,
                         QStringLiteral("\"%1\" is not the bare name of a file: send a name without folders.").arg(name),
                         {}});
    }
    const int folder = ::open(m_path.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder < 0)
        return unreadable(name, QStringLiteral("the content folder"), errno);
    // O_NOFOLLOW decides about symbolic links in the same step that opens the file, so none can be slipped in between.
    // O_NONBLOCK keeps a named pipe from holding the server.
    Http::File file(::openat(folder, QFile::encodeName(name).constData(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    const int error = errno;
    ::close(folder);
    if (!file.isOpen())
        return meansNoSuchFile(error) ? noSuchFile(name) : unreadable(name, name, error);

    struct stat status;
    if (::fstat(file.descriptor(), &status) != 0)
        return unreadable(name, name, errno);
    if (!S_ISREG(status.st_mode))
        return noSuchFile(name);
    return file;
}

bool ContentFolder::isBareName(const QString& name)
{
    if (name.isEmpty() || name.startsWith(QLatin1Char('.')))
        return false;
    for (const QChar c : name) {
        if (c == QLatin1Char('/') || c == QLatin1Char('\\') || c.unicode() < 0x20 || c.unicode() == 0x7f)
            return false;
    }
    return true;
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

}
