#pragma once

#include <QSqlDatabase>
#include <QString>

#include <cstdint>
#include <string>
#include <sys/types.h>

namespace TestSupport
{
/// A SQLite file that no program uses, in a state in which none can write to it, until the scope ends. Fails the test
/// when that cannot be arranged. The superuser may write what permissions forbid; meanwhile the thread that made this may not.
class SpoiltDatabase
{
public:
    enum class Kind { Locked, ReadOnlyFile, ReadOnlyFolder, Damaged, NoDatabase };

    /// `file` is made when it is missing, in a folder that exists.
    SpoiltDatabase(const QString& file, Kind kind);
    ~SpoiltDatabase();
    SpoiltDatabase(const SpoiltDatabase&) = delete;
    SpoiltDatabase& operator=(const SpoiltDatabase&) = delete;

    /// What every refusal advises.
    [[nodiscard]] static QString remedy(Kind kind);
    /// For messages of tests.
    [[nodiscard]] static std::string name(Kind kind);

private:
    void setReadOnly(mode_t ofFile, mode_t ofFolder);

    QString m_file;
    QSqlDatabase m_locker;
    std::uint32_t m_rights = 0; ///< the effective capabilities before, of which some were taken; 0 when none were
};

constexpr SpoiltDatabase::Kind kSpoiltKinds[] = {SpoiltDatabase::Kind::Locked, SpoiltDatabase::Kind::ReadOnlyFile,
                                                 SpoiltDatabase::Kind::ReadOnlyFolder, SpoiltDatabase::Kind::Damaged,
                                                 SpoiltDatabase::Kind::NoDatabase};
}
