#pragma once

#include <Bedrock/Export.hpp>

#include <QString>
#include <QUrl>

#include <optional>

namespace Http
{
/// Where a door listens: a numeric address and a TCP port, or a Unix socket.
struct TAVOLA_EXPORT Address
{
    QString host;     ///< numeric IPv4 or IPv6 address; empty for a Unix socket
    quint16 port = 0; ///< 0: the system chooses a free one
    QString path;     ///< of a Unix socket; otherwise empty

    /// "127.0.0.1:8080", "[::1]:8080", "localhost:8080" or "unix:/run/tavola/commands". Nothing when `text` is none of these.
    [[nodiscard]] static std::optional<Address> parse(const QString& text);
    /// As parse() reads it.
    [[nodiscard]] QString toString() const;

    [[nodiscard]] bool isUnixSocket() const { return !path.isEmpty(); }
    /// Only this machine reaches it.
    [[nodiscard]] bool isLoopback() const;
    /// All addresses of the machine: no address that others can be given.
    [[nodiscard]] bool isUnspecified() const;
};

/// Whether a web address leads back to the machine that opens it: its host is "localhost" or an address that is loopback or
/// unspecified. A phone that scans it finds nothing.
[[nodiscard]] TAVOLA_EXPORT bool isOnThisMachineOnly(const QUrl& url);
}
