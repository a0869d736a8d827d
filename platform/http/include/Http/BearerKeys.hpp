#pragma once

#include <Bedrock/Export.hpp>
#include <Http/Message.hpp>

#include <QString>

#include <tl/expected.hpp>

#include <vector>

namespace Http
{
/// Keys that clients send as "Authorization: Bearer KEY" (RFC 6750), as they stand in a file: one or two lines, each a key of at
/// least 128 bits, that is 32 hexadecimal digits or 22 characters of base64 or more. Empty lines and lines that begin with '#'
/// are skipped. Two keys are both valid, so that a key can be exchanged without an interruption. A value; any thread.
class TAVOLA_EXPORT BearerKeys
{
public:
    /// The keys of a file that its owner alone may read and write (0600 or less) and that belongs to this user or root; no
    /// symbolic link. Otherwise a sentence for the operator with the remedy, in which no key stands.
    [[nodiscard]] static tl::expected<BearerKeys, QString> read(const QString& file);

    /// The key that a client sends: the first one.
    [[nodiscard]] const QByteArray& key() const { return m_keys.front(); }
    /// Whether the request has one of the keys. Takes as long for a key that is nearly right as for any other of its length.
    [[nodiscard]] bool accepts(const Request& request) const;

private:
    explicit BearerKeys(std::vector<QByteArray> keys) : m_keys(std::move(keys)) {}

    std::vector<QByteArray> m_keys; ///< one or two
};
}
