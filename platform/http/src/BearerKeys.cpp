#include "Http/BearerKeys.hpp"

#include <QFile>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <fcntl.h>
#include <set>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace Http
{
namespace
{
constexpr const char* kScheme = "Bearer ";
constexpr int kLargestFile = 4096;
constexpr int kLeastHexDigits = 32;
constexpr int kLeastCharacters = 22;
constexpr std::size_t kMostKeys = 2;

bool isHexDigit(char c)
{
    return std::isxdigit(static_cast<unsigned char>(c)) != 0;
}

/// Of the characters that RFC 6750 allows in a token.
bool isKeyCharacter(char c)
{
    return std::isalnum(static_cast<unsigned char>(c)) != 0 || QByteArray("-._~+/=").contains(c);
}

bool hasEnoughBits(const QByteArray& key)
{
    const bool isHex = std::all_of(key.begin(), key.end(), isHexDigit);
    // Of 32 random digits there are fewer than six different ones once in 10^12 keys.
    constexpr std::size_t kLeastDifferent = 6;
    return key.size() >= (isHex ? kLeastHexDigits : kLeastCharacters)
        && std::set<char>(key.begin(), key.end()).size() >= kLeastDifferent;
}

/// Every byte is compared, also after the first difference.
bool areEqual(const QByteArray& a, const QByteArray& b)
{
    if (a.size() != b.size())
        return false;
    volatile unsigned char difference = 0;
    for (int i = 0; i < a.size(); ++i)
        difference = static_cast<unsigned char>(difference | (a[i] ^ b[i]));
    return difference == 0;
}

QString systemError()
{
    return QString::fromStdString(std::generic_category().message(errno));
}
}

tl::expected<BearerKeys, QString> BearerKeys::read(const QString& file)
{
    const auto failed = [&file](const QString& why) {
        return tl::unexpected(QStringLiteral("The key file \"%1\" %2").arg(file, why));
    };
    // Waits for nothing, should a pipe have taken the file's place.
    const File opened(::open(QFile::encodeName(file).constData(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    if (!opened.isOpen() && errno == ELOOP)
        return failed(QStringLiteral("is a symbolic link: name the file itself"));
    if (!opened.isOpen())
        return failed(QStringLiteral("cannot be opened (%1)").arg(systemError()));
    struct stat status = {};
    if (::fstat(opened.descriptor(), &status) != 0 || !S_ISREG(status.st_mode))
        return failed(QStringLiteral("is no regular file"));
    if (status.st_uid != ::geteuid() && status.st_uid != 0)
        return failed(QStringLiteral("belongs to another user: make one of your own"));
    if ((status.st_mode & 077) != 0)
        return failed(QStringLiteral("can be read or changed by other users: chmod 600 it"));
    QByteArray text(kLargestFile + 1, '\0');
    const ssize_t size = ::read(opened.descriptor(), text.data(), std::size_t(text.size()));
    if (size < 0)
        return failed(QStringLiteral("cannot be read (%1)").arg(systemError()));
    if (size > kLargestFile)
        return failed(QStringLiteral("has more than %1 bytes").arg(kLargestFile));
    text.truncate(int(size));

    std::vector<QByteArray> keys;
    int number = 0;
    for (const QByteArray& raw : text.split('\n')) {
        ++number;
        const QByteArray line = raw.trimmed();
        if (line.isEmpty() || line.startsWith('#'))
            continue;
        if (!std::all_of(line.begin(), line.end(), isKeyCharacter))
            return failed(QStringLiteral("has a character in line %1 that no key may have: make a key with \"openssl rand -hex "
                                         "32\"")
                              .arg(number));
        if (!hasEnoughBits(line))
            return failed(
                QStringLiteral("has a key of less than 128 bits in line %1: make one with \"openssl rand -hex 32\"").arg(number));
        keys.push_back(line);
    }
    if (keys.empty())
        return failed(QStringLiteral("has no key: make one with \"openssl rand -hex 32\""));
    if (keys.size() > kMostKeys)
        return failed(QStringLiteral("has more than two keys: keep the new one and the one before"));
    return BearerKeys(std::move(keys));
}

bool BearerKeys::accepts(const Request& request) const
{
    const QByteArray header = request.header("Authorization");
    if (!header.startsWith(kScheme))
        return false;
    const QByteArray sent = header.mid(int(qstrlen(kScheme)));
    bool found = false;
    for (const QByteArray& key : m_keys)
        found = areEqual(key, sent) || found;
    return found;
}
}
