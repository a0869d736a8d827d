#include "Http/Address.hpp"

#include <boost/asio/ip/address.hpp>

#include <QStringList>

#include <arpa/inet.h>

namespace Http
{
namespace
{
using boost::asio::ip::address;

/// An address of IPv4 that is written as one of IPv6 is judged as what it is.
address parsed(const QString& host)
{
    boost::system::error_code error;
    const address found = boost::asio::ip::make_address(host.toStdString(), error);
    if (!error && found.is_v6() && found.to_v6().is_v4_mapped())
        return boost::asio::ip::make_address_v4(boost::asio::ip::v4_mapped, found.to_v6());
    return found;
}
}

std::optional<Address> Address::parse(const QString& text)
{
    Address address;
    if (text.startsWith(QLatin1String("unix:"))) {
        address.path = text.mid(5);
        return address.path.startsWith(QLatin1Char('/')) ? std::optional<Address>(address) : std::nullopt;
    }
    const int colon = text.lastIndexOf(QLatin1Char(':'));
    if (colon <= 0)
        return std::nullopt;
    QString host = text.left(colon);
    if (host.startsWith(QLatin1Char('[')) && host.endsWith(QLatin1Char(']')))
        host = host.mid(1, host.size() - 2);
    else if (host.contains(QLatin1Char(':')))
        return std::nullopt;
    if (host == QLatin1String("localhost"))
        host = QStringLiteral("127.0.0.1");
    boost::system::error_code error;
    boost::asio::ip::make_address(host.toStdString(), error);
    bool isNumber = false;
    const uint port = text.mid(colon + 1).toUInt(&isNumber);
    if (error || !isNumber || port > 65535)
        return std::nullopt;
    address.host = host;
    address.port = quint16(port);
    return address;
}

QString Address::toString() const
{
    if (isUnixSocket())
        return QStringLiteral("unix:") + path;
    return (host.contains(QLatin1Char(':')) ? QStringLiteral("[%1]:%2") : QStringLiteral("%1:%2")).arg(host).arg(port);
}

bool Address::isLoopback() const
{
    return !isUnixSocket() && parsed(host).is_loopback();
}

bool Address::isUnspecified() const
{
    return !isUnixSocket() && parsed(host).is_unspecified();
}

bool isOnThisMachineOnly(const QUrl& url)
{
    QString host = url.host();
    while (host.endsWith(QLatin1Char('.'))) // of a name that is written out to the root
        host.chop(1);
    static const QStringList names{"localhost",     "localhost.localdomain", "localhost6", "localhost6.localdomain6",
                                   "ip6-localhost", "ip6-loopback"};
    if (names.contains(host) || host.endsWith(QLatin1String(".localhost")))
        return true;
    // Browsers read 0, 2130706433, 0x7f.1 and the like as addresses.
    in_addr four = {};
    char text[INET_ADDRSTRLEN];
    if (::inet_aton(host.toLatin1().constData(), &four) != 0)
        host = QString::fromLatin1(::inet_ntop(AF_INET, &four, text, sizeof text));
    boost::system::error_code error;
    boost::asio::ip::make_address(host.toStdString(), error);
    const address found = parsed(host);
    return !error && (found.is_loopback() || found.is_unspecified());
}
}
