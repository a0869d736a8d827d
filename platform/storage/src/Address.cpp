#include "Storage/Address.hpp"

#include <QUrl>
#include <QUrlQuery>

namespace Storage
{
namespace
{
constexpr int kStandardPort = 5432;

/// Where the value of an option belongs; null for an unknown one.
QString* valueOf(const QString& option, Address& address)
{
    if (option == QLatin1String("password-file"))
        return &address.passwordFile;
    if (option == QLatin1String("host"))
        return &address.host;
    if (option == QLatin1String("sslmode"))
        return &address.sslMode;
    if (option == QLatin1String("sslrootcert"))
        return &address.sslRootCertificate;
    return nullptr;
}
}

tl::expected<Address, QString> Address::parse(const QString& text)
{
    Address address;
    const QString scheme = text.section(QStringLiteral("://"), 0, 0);
    if (!text.contains(QLatin1String("://"))) {
        address.file = text;
        return text.isEmpty() ? tl::expected<Address, QString>(tl::unexpected(QStringLiteral("the address is empty"))) : address;
    }
    const QUrl url(text, QUrl::StrictMode);
    if (scheme != QLatin1String("postgres") && scheme != QLatin1String("postgresql"))
        return tl::unexpected(
            QStringLiteral("\"%1://\" is no kind of database that is known; write a file's path or postgres://").arg(scheme));
    if (!url.password().isNull())
        return tl::unexpected(QStringLiteral("a password does not belong into an address, which others can read: write it to a "
                                             "file and add ?password-file=FILE, or set PGPASSWORD"));
    address.database = url.path().mid(1);
    if (!url.isValid() || address.database.isEmpty() || url.hasFragment())
        return tl::unexpected(QStringLiteral("the address has to be postgres://USER@HOST:PORT/DATABASE"));
    address.host = url.host();
    address.port = url.port(kStandardPort);
    address.user = url.userName();
    for (const auto& [option, value] : QUrlQuery(url).queryItems(QUrl::FullyDecoded)) {
        QString* const wanted = valueOf(option, address);
        if (!wanted)
            return tl::unexpected(QStringLiteral("\"%1\" is no option of a database's address; known are password-file, host, "
                                                 "sslmode and sslrootcert")
                                      .arg(option));
        *wanted = value;
    }
    return address;
}

QString Address::shown() const
{
    if (!isPostgres())
        return file;
    const QString number = port == kStandardPort ? QString() : QStringLiteral(":%1").arg(port);
    return QStringLiteral("postgres://%1%2%3/%4")
        .arg(user.isEmpty() ? QString() : user + QLatin1Char('@'), host, number, database);
}
}
