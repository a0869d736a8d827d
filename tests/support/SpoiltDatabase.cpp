#include "SpoiltDatabase.hpp"

#include <doctest/doctest.h>

#include <QFile>
#include <QFileInfo>
#include <QSqlQuery>

#include <fcntl.h>
#include <linux/capability.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace TestSupport
{
namespace
{
const QString kConnection = QStringLiteral("spoilt-database");

/// The first 32 capabilities of the calling thread, among them those over permissions of files.
std::uint32_t effectiveRights()
{
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct rights[2]{};
    REQUIRE(::syscall(SYS_capget, &header, rights) == 0);
    return rights[0].effective;
}

void setEffectiveRights(std::uint32_t effective)
{
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct rights[2]{};
    CHECK(::syscall(SYS_capget, &header, rights) == 0);
    rights[0].effective = effective;
    CHECK(::syscall(SYS_capset, &header, rights) == 0);
}

QByteArray folderOf(const QString& file)
{
    return QFile::encodeName(QFileInfo(file).absolutePath());
}
}

SpoiltDatabase::SpoiltDatabase(const QString& file, Kind kind) : m_file(file)
{
    m_locker = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), kConnection);
    m_locker.setDatabaseName(file);
    REQUIRE(m_locker.open());
    QSqlQuery query(m_locker);
    REQUIRE(query.exec(QStringLiteral("CREATE TABLE IF NOT EXISTS other (x)")));
    if (kind == Kind::Locked) {
        REQUIRE(query.exec(QStringLiteral("BEGIN IMMEDIATE")));
        return;
    }
    query.clear();
    m_locker.close();
    QFile database(file);
    constexpr int kHeader = 100;
    switch (kind) {
    case Kind::Locked: break;
    case Kind::ReadOnlyFile: setReadOnly(0444, 0755); break;
    case Kind::ReadOnlyFolder: setReadOnly(0644, 0555); break;
    case Kind::Damaged:
        REQUIRE(database.open(QIODevice::ReadWrite));
        REQUIRE(database.seek(kHeader));
        REQUIRE(database.write(QByteArray(int(database.size()) - kHeader, '\x5a')) > 0);
        break;
    case Kind::NoDatabase:
        REQUIRE(database.open(QIODevice::WriteOnly | QIODevice::Truncate));
        REQUIRE(database.write(QByteArray("This is a letter. ").repeated(400)) > 0);
        break;
    }
}

void SpoiltDatabase::setReadOnly(mode_t ofFile, mode_t ofFolder)
{
    const QByteArray file = QFile::encodeName(m_file);
    REQUIRE(::chmod(file.constData(), ofFile) == 0);
    REQUIRE(::chmod(folderOf(m_file).constData(), ofFolder) == 0);
    m_rights = effectiveRights();
    setEffectiveRights(m_rights & ~((1u << CAP_DAC_OVERRIDE) | (1u << CAP_DAC_READ_SEARCH)));
    const int opened =
        ::open(((ofFile & 0200) != 0 ? folderOf(m_file) + "/other" : file).constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    REQUIRE(opened < 0);
}

SpoiltDatabase::~SpoiltDatabase()
{
    if (m_rights != 0)
        setEffectiveRights(m_rights);
    CHECK(::chmod(folderOf(m_file).constData(), 0700) == 0);
    m_locker.close();
    m_locker = QSqlDatabase();
    QSqlDatabase::removeDatabase(kConnection);
}

QString SpoiltDatabase::remedy(Kind kind)
{
    switch (kind) {
    case Kind::Locked: return QStringLiteral("another program keeps it locked: end that one, and start again");
    case Kind::ReadOnlyFile:
    case Kind::ReadOnlyFolder: break;
    case Kind::Damaged:
    case Kind::NoDatabase: return QStringLiteral("move it away to begin a new one");
    }
    return QStringLiteral("let this user write the file and its folder, and mount the disk for writing");
}

std::string SpoiltDatabase::name(Kind kind)
{
    switch (kind) {
    case Kind::Locked: return "locked";
    case Kind::ReadOnlyFile: return "a read-only file";
    case Kind::ReadOnlyFolder: return "in a read-only folder";
    case Kind::Damaged: return "damaged";
    case Kind::NoDatabase: break;
    }
    return "no database";
}
}
