#include "CollectionArchive.hpp"

#include <archive.h>
#include <archive_entry.h>

#include <QSet>

#include <array>
#include <cerrno>
#include <clocale>
#include <ctime>
#include <memory>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace MediaServer
{

namespace
{

using Archive = std::unique_ptr<archive, int (*)(archive*)>;
using Entry = std::unique_ptr<archive_entry, void (*)(archive_entry*)>;

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

/// Appends what the library has written.
la_ssize_t appendBytes(archive*, void* ready, const void* bytes, std::size_t size)
{
    static_cast<QByteArray*>(ready)->append(static_cast<const char*>(bytes), static_cast<int>(size));
    return static_cast<la_ssize_t>(size);
}

}

struct CollectionArchive::Private
{
    enum class Step { Done, Failed };

    std::vector<ArchiveEntry> entries;
    std::size_t nextEntry = 0;
    Http::File file; ///< that is being read
    qint64 read = 0;
    qint64 size = 0;
    QByteArray ready; ///< for the next pieces
    bool hasBegun = false;
    bool hasEnded = false;
    QSet<QString> used;
    Archive zip{archive_write_new(), archive_write_free}; ///< last member: it writes into `ready` when it is freed

    Step begin();
    Step beginEntry(ArchiveEntry& source);
    Step writeHeader(const QString& name, qint64 bytes, std::time_t changed);
    Step copyPiece();
    Step step();
    [[nodiscard]] static Step stepOf(la_ssize_t result) { return result < ARCHIVE_OK ? Step::Failed : Step::Done; }
    [[nodiscard]] QString reason() const
    {
        const char* const known = archive_error_string(zip.get());
        return QString::fromStdString(known ? known : std::generic_category().message(errno));
    }
};

CollectionArchive::Private::Step CollectionArchive::Private::begin()
{
    archive_write_set_format_zip(zip.get());
    // What is written is there at once, and no block is filled up.
    archive_write_set_bytes_per_block(zip.get(), 0);
    // Names are UTF-8 whatever the locale of the server is.
    if (archive_write_set_options(zip.get(), "zip:compression=store,hdrcharset=UTF-8") < ARCHIVE_WARN)
        return Step::Failed;
    return stepOf(archive_write_open(zip.get(), &ready, nullptr, &appendBytes, nullptr));
}

CollectionArchive::Private::Step CollectionArchive::Private::beginEntry(ArchiveEntry& source)
{
    if (!source.open) {
        if (writeHeader(uniqueName(source.name, used), source.text.size(), std::time(nullptr)) == Step::Failed)
            return Step::Failed;
        return stepOf(archive_write_data(zip.get(), source.text.constData(), static_cast<std::size_t>(source.text.size())));
    }
    file = source.open();
    struct stat status = {};
    if (!file.isOpen() || ::fstat(file.descriptor(), &status) != 0) {
        file = Http::File();
        return Step::Done;
    }
    read = 0;
    size = static_cast<qint64>(status.st_size);
    return writeHeader(uniqueName(source.name, used), size, status.st_mtime);
}

CollectionArchive::Private::Step CollectionArchive::Private::writeHeader(const QString& name, qint64 bytes, std::time_t changed)
{
    const Entry entry(archive_entry_new(), archive_entry_free);
    archive_entry_set_pathname_utf8(entry.get(), name.toUtf8().constData());
    archive_entry_set_size(entry.get(), bytes);
    archive_entry_set_filetype(entry.get(), AE_IFREG);
    archive_entry_set_perm(entry.get(), 0644);
    archive_entry_set_mtime(entry.get(), changed, 0);
    return stepOf(archive_write_header(zip.get(), entry.get()));
}

CollectionArchive::Private::Step CollectionArchive::Private::copyPiece()
{
    if (read == size) {
        file = Http::File();
        return Step::Done;
    }
    std::array<char, 8 * 1024> piece;
    errno = 0;
    const ssize_t got = ::pread(file.descriptor(), piece.data(), piece.size(), read);
    // A file that is cut meanwhile would leave an entry that is no file.
    if (got <= 0)
        return Step::Failed;
    read += got;
    return stepOf(archive_write_data(zip.get(), piece.data(), static_cast<std::size_t>(got)));
}

CollectionArchive::Private::Step CollectionArchive::Private::step()
{
    if (file.isOpen())
        return copyPiece();
    if (nextEntry < entries.size())
        return beginEntry(entries[nextEntry++]);
    hasEnded = true;
    return stepOf(archive_write_close(zip.get()));
}

CollectionArchive::CollectionArchive(std::vector<ArchiveEntry> entries) : d(std::make_unique<Private>())
{
    d->entries = std::move(entries);
}

CollectionArchive::~CollectionArchive() = default;

Result<QByteArray> CollectionArchive::next()
{
    if (!std::exchange(d->hasBegun, true) && d->begin() == Private::Step::Failed)
        return tl::unexpected(d->reason());
    while (d->ready.isEmpty() && !d->hasEnded)
        if (d->step() == Private::Step::Failed)
            return tl::unexpected(d->reason());
    return std::exchange(d->ready, QByteArray());
}

}
