#include "SpoiltDatabase.hpp"

#include <doctest/doctest.h>

#include <QFile>
#include <QFileInfo>
#include <QSqlQuery>

#include <sys/stat.h>
#include <unistd.h>

namespace TestSupport
{
namespace
{
constexpr uid_t kNobody = 65534;
const QString kConnection = QStringLiteral("spoilt-database");

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
    REQUIRE(query.exec(QStringLiteral("CREATE TABLE other (x)")));
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
    const QByteArray folder = folderOf(m_file);
    m_isOrdinaryUser = ::geteuid() == 0;
    if (m_isOrdinaryUser) {
        REQUIRE(::chown(file.constData(), kNobody, gid_t(-1)) == 0);
        REQUIRE(::chown(folder.constData(), kNobody, gid_t(-1)) == 0);
    }
    REQUIRE(::chmod(file.constData(), ofFile) == 0);
    REQUIRE(::chmod(folder.constData(), ofFolder) == 0);
    if (m_isOrdinaryUser)
        REQUIRE(::seteuid(kNobody) == 0);
}

SpoiltDatabase::~SpoiltDatabase()
{
    if (m_isOrdinaryUser)
        CHECK(::seteuid(0) == 0);
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
