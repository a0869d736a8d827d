#include "CollectionArchive.hpp"

#include <archive.h>
#include <archive_entry.h>

#include <QDir>
#include <QFile>
#include <QSet>

#include <array>
#include <cerrno>
#include <clocale>
#include <ctime>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace MediaServer
{

namespace
{

using Archive = std::unique_ptr<archive, int (*)(archive*)>;
using Entry = std::unique_ptr<archive_entry, void (*)(archive_entry*)>;

tl::unexpected<QString> systemError()
{
    return tl::unexpected(QString::fromStdString(std::generic_category().message(errno)));
}

QString uniqueName(const QString& name, QSet<QString>& used)
{
    QString result = name;
    for (int number = 2; used.contains(result); ++number) {
        const int dot = name.lastIndexOf(QLatin1Char('.'));
        const QString mark = QStringLiteral(" (%1)").arg(number);
        result = dot > 0 ? name.left(dot) + mark + name.mid(dot) : name + mark;
    }
    used.insert(result);
    return result;
}

/// Copies the file into the entry that was begun. False with errno, or with the archive's error.
bool copy(archive* zip, const Http::File& file, qint64 size)
{
    std::array<char, 64 * 1024> piece;
    for (qint64 done = 0; done < size;) {
        const ssize_t got = ::pread(file.descriptor(), piece.data(), piece.size(), done);
        // A file that is cut meanwhile would leave an entry that is no file: the archive is given up.
        if (got <= 0 || archive_write_data(zip, piece.data(), static_cast<std::size_t>(got)) < 0)
            return false;
        done += got;
    }
    return true;
}

bool add(archive* zip, const ArchiveEntry& source, const QString& name)
{
    struct stat status = {};
    if (source.file.isOpen() && ::fstat(source.file.descriptor(), &status) != 0)
        return false;
    const qint64 size = source.file.isOpen() ? static_cast<qint64>(status.st_size) : source.text.size();
    const Entry entry(archive_entry_new(), archive_entry_free);
    archive_entry_set_pathname_utf8(entry.get(), name.toUtf8().constData());
    archive_entry_set_size(entry.get(), size);
    archive_entry_set_filetype(entry.get(), AE_IFREG);
    archive_entry_set_perm(entry.get(), 0644);
    archive_entry_set_mtime(entry.get(), source.file.isOpen() ? status.st_mtime : std::time(nullptr), 0);
    if (archive_write_header(zip, entry.get()) != ARCHIVE_OK)
        return false;
    if (source.file.isOpen())
        return copy(zip, source.file, size);
    return archive_write_data(zip, source.text.constData(), static_cast<std::size_t>(source.text.size())) == size;
}

} // namespace

Result<Http::File> packCollection(const std::vector<ArchiveEntry>& entries)
{
    Http::File result(::open(QFile::encodeName(QDir::tempPath()).constData(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600));
    if (!result.isOpen())
        return systemError();
    const Archive zip(archive_write_new(), archive_write_free);
    const auto failed = [&zip] {
        const char* const reason = archive_error_string(zip.get());
        return reason ? tl::unexpected(QString::fromUtf8(reason)) : systemError();
    };
    archive_write_set_format_zip(zip.get());
    // Names are UTF-8 whatever the locale of the server is.
    if (archive_write_set_options(zip.get(), "zip:compression=store,hdrcharset=UTF-8") < ARCHIVE_WARN
        || archive_write_open_fd(zip.get(), result.descriptor()) != ARCHIVE_OK)
        return failed();
    QSet<QString> used;
    for (const ArchiveEntry& entry : entries) {
        errno = 0;
        if (!add(zip.get(), entry, uniqueName(entry.name, used)))
            return failed();
    }
    if (archive_write_close(zip.get()) != ARCHIVE_OK)
        return failed();
    if (::lseek(result.descriptor(), 0, SEEK_SET) != 0)
        return systemError();
    return result;
}

} // namespace MediaServer
