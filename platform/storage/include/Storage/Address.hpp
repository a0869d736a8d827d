#pragma once

#include <Bedrock/Export.hpp>

#include <QString>

#include <tl/expected.hpp>

namespace Storage
{
/// Where a database is: a SQLite file, or "postgres://USER@HOST:PORT/DATABASE". Options of the latter follow a "?", joined by
/// "&": password-file=FILE (read anew for each connection), host=FOLDER (of a Unix socket), sslmode=, sslrootcert=. Without a
/// password-file the password is that of PGPASSWORD or ~/.pgpass. A plain record.
struct TAVOLA_EXPORT Address
{
    QString file; ///< of SQLite; empty for PostgreSQL

    QString host;
    int port = 5432;
    QString database;
    QString user; ///< empty: the user who runs the program
    QString passwordFile;
    QString sslMode;
    QString sslRootCertificate;

    /// Refuses an address with a password in it, which the list of processes would show, with a sentence for the operator.
    [[nodiscard]] static tl::expected<Address, QString> parse(const QString& text);

    [[nodiscard]] bool isPostgres() const { return file.isEmpty(); }
    /// For messages.
    [[nodiscard]] QString shown() const;
};
}
