#include "Bedrock/SqliteRemedy.hpp"

#include <QFile>

#include <sys/stat.h>

#include <cerrno>

namespace Bedrock
{
std::optional<NoDatabase> whyNoDatabase(const QString& path)
{
    struct stat status = {};
    QString reason;
    if (::stat(QFile::encodeName(path).constData(), &status) != 0) {
        if (errno == ELOOP)
            reason = QStringLiteral("it is a link that leads round in a circle");
    } else if (S_ISDIR(status.st_mode)) {
        reason = QStringLiteral("it is a folder");
    } else if (!S_ISREG(status.st_mode)) {
        reason = QStringLiteral("it is a pipe or a device");
    }
    if (reason.isEmpty())
        return std::nullopt;
    return NoDatabase{reason, QStringLiteral("only an ordinary file can be a database: give it another place")};
}

QString sqliteRemedy(int resultCode)
{
    // Extended codes have the primary one in their low byte (SQLite, Result and Error Codes).
    switch (resultCode & 0xFF) {
    case 5: // SQLITE_BUSY
    case 6: // SQLITE_LOCKED
        return QStringLiteral("another program keeps it locked: end that one, and start again");
    case 3:  // SQLITE_PERM
    case 8:  // SQLITE_READONLY
    case 14: // SQLITE_CANTOPEN
    case 23: // SQLITE_AUTH
        return QStringLiteral("let this user write the file and its folder, and mount the disk for writing");
    case 10: // SQLITE_IOERR
    case 13: // SQLITE_FULL
        return QStringLiteral("make room on the disk, or check it; nothing in the file is lost");
    case 11: // SQLITE_CORRUPT
    case 26: // SQLITE_NOTADB
        return QStringLiteral("move it away to begin a new one");
    default: return QStringLiteral("check the file and the disk; it was not changed");
    }
}
}
