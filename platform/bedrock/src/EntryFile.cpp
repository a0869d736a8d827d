#include "EntryFile.hpp"

#include <QCryptographicHash>

#include <algorithm>
#include <array>
#include <cstring>
#include <ctime>
#include <utility>
#include <vector>

#include <dirent.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Bedrock
{
namespace
{
constexpr char kMagic[] = "tavola decoded\n"; // 16 bytes with the NUL
constexpr int kStateBytes = 20;
constexpr char kSuffix[] = ".decoded";
constexpr char kNewPrefix[] = "new-";
constexpr int kNameBytes = 40 + int(sizeof(kSuffix)) - 1;
/// The time of the last use is written down in such steps.
constexpr std::time_t kUseStepSeconds = 3600;
/// A file whose writing takes longer was given up.
constexpr std::time_t kLongestWritingSeconds = 3600;

/// The file begins with it, in the byte order of the machine; another order gives another length.
struct Head
{
    char magic[sizeof(kMagic)];
    char state[kStateBytes];
    quint32 unused;
    quint64 length;
    quint64 checksum;
};
static_assert(sizeof(Head) == 56, "the head has no padding");

/// Four sums side by side, which is as fast as memory is read. Any change within 32 bytes changes it.
quint64 checksumOf(const char* bytes, std::size_t size)
{
    constexpr quint64 kFactor = 0x9e3779b97f4a7c15u; // odd: no value is lost by multiplying
    std::array<quint64, 4> sums{1, 2, 3, 4};
    const auto add = [&sums](const char* at) {
        std::array<quint64, 4> words;
        std::memcpy(words.data(), at, sizeof(words));
        for (std::size_t i = 0; i < sums.size(); ++i) {
            const quint64 mixed = sums[i] ^ words[i];
            sums[i] = ((mixed << 29) | (mixed >> 35)) * kFactor;
        }
    };
    constexpr std::size_t kStep = sizeof(sums);
    for (; size >= kStep; size -= kStep, bytes += kStep)
        add(bytes);
    std::array<char, kStep> last{};
    std::memcpy(last.data(), bytes, size);
    add(last.data());
    quint64 result = 0;
    for (const quint64 sum : sums)
        result = (result ^ sum) * kFactor;
    return result;
}

Head headOf(const QByteArray& state, const char* bytes, std::size_t size)
{
    Head head{};
    std::memcpy(head.magic, kMagic, sizeof(kMagic));
    std::memcpy(head.state, state.constData(), std::size_t(std::min(state.size(), kStateBytes)));
    head.length = size;
    head.checksum = checksumOf(bytes, size);
    return head;
}

bool writeAll(int file, const void* from, std::size_t length)
{
    const auto* at = static_cast<const char*>(from);
    while (length > 0) {
        const ssize_t count = ::write(file, at, length);
        if (count <= 0)
            return false;
        at += count;
        length -= std::size_t(count);
    }
    return true;
}

bool isOurs(const struct stat& status)
{
    return status.st_uid == ::geteuid() && (status.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

struct KeptEntry
{
    QByteArray name;
    qint64 bytes;
    struct timespec used;
};

bool isUsedEarlier(const KeptEntry& a, const KeptEntry& b)
{
    return std::make_pair(a.used.tv_sec, a.used.tv_nsec) < std::make_pair(b.used.tv_sec, b.used.tv_nsec);
}

/// The entries in a folder. Removes what is left of entries that were never finished.
std::vector<KeptEntry> entriesIn(int folder)
{
    std::vector<KeptEntry> entries;
    const int own = ::openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC); // closedir closes its descriptor
    DIR* const listing = own >= 0 ? ::fdopendir(own) : nullptr;
    if (!listing) {
        if (own >= 0)
            ::close(own);
        return entries;
    }
    while (const dirent* found = ::readdir(listing)) {
        const QByteArray name(found->d_name);
        const bool isEntry = name.size() == kNameBytes && name.endsWith(kSuffix);
        const bool isNew = name.startsWith(kNewPrefix);
        struct stat status = {};
        if ((!isEntry && !isNew) || ::fstatat(folder, found->d_name, &status, AT_SYMLINK_NOFOLLOW) != 0)
            continue;
        if (isEntry)
            entries.push_back({name, status.st_size, status.st_mtim});
        else if (std::time(nullptr) - status.st_mtime > kLongestWritingSeconds)
            ::unlinkat(folder, found->d_name, 0);
    }
    ::closedir(listing);
    return entries;
}
}

EntryFolder EntryFolder::open(const QByteArray& path)
{
    const int folder = ::open(path.constData(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    struct stat status = {};
    if (folder >= 0 && (::fstat(folder, &status) != 0 || !isOurs(status))) {
        ::close(folder);
        return EntryFolder(-1);
    }
    return EntryFolder(folder);
}

EntryFolder EntryFolder::make(const QByteArray& path)
{
    for (int slash = path.indexOf('/', 1); slash > 0; slash = path.indexOf('/', slash + 1))
        ::mkdir(path.left(slash).constData(), 0700); // in general it exists
    ::mkdir(path.constData(), 0700);
    return open(path);
}

EntryFolder::EntryFolder(EntryFolder&& other) noexcept : m_descriptor(std::exchange(other.m_descriptor, -1)) {}

EntryFolder::~EntryFolder()
{
    if (m_descriptor >= 0)
        ::close(m_descriptor);
}

void EntryFolder::shrink(qint64 mostBytes, const QByteArray& replaced) const
{
    std::vector<KeptEntry> entries = entriesIn(m_descriptor);
    qint64 bytes = 0;
    for (const KeptEntry& entry : entries)
        if (entry.name != replaced)
            bytes += entry.bytes;
    std::sort(entries.begin(), entries.end(), isUsedEarlier);
    for (const KeptEntry& entry : entries) {
        if (bytes <= mostBytes)
            return;
        if (entry.name != replaced && ::unlinkat(m_descriptor, entry.name.constData(), 0) == 0)
            bytes -= entry.bytes;
    }
}

EntryMap::~EntryMap()
{
    if (m_start)
        ::munmap(m_start, m_length);
}

bool EntryMap::open(const EntryFolder& folder, const QByteArray& name, const QByteArray& state)
{
    const int file = ::openat(folder.descriptor(), name.constData(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    if (file < 0)
        return false;
    constexpr qint64 kMost = 1 << 30;
    struct stat status = {};
    if (::fstat(file, &status) == 0 && S_ISREG(status.st_mode) && isOurs(status) && status.st_size >= qint64(sizeof(Head))
        && status.st_size <= kMost) {
        // All pages at once: a fault for each takes longer than copying it would.
        void* const start = ::mmap(nullptr, std::size_t(status.st_size), PROT_READ, MAP_PRIVATE | MAP_POPULATE, file, 0);
        if (start != MAP_FAILED) {
            m_start = start;
            m_length = std::size_t(status.st_size);
        }
        if (std::time(nullptr) - status.st_mtime > kUseStepSeconds)
            ::futimens(file, nullptr);
    }
    ::close(file);
    if (!m_start)
        return false;
    const Head expected = headOf(state, bytes(), std::size_t(size()));
    return std::memcmp(m_start, &expected, sizeof(expected)) == 0;
}

const char* EntryMap::bytes() const noexcept
{
    return static_cast<const char*>(m_start) + sizeof(Head);
}

qint64 EntryMap::size() const noexcept
{
    return qint64(m_length - sizeof(Head));
}

namespace EntryFile
{
QByteArray nameOf(const QByteArray& key)
{
    return QCryptographicHash::hash(key, QCryptographicHash::Sha1).toHex() + kSuffix;
}

qint64 sizeOf(const QByteArray& bytes)
{
    return qint64(sizeof(Head)) + bytes.size();
}

void write(const EntryFolder& folder, const QByteArray& name, const QByteArray& state, const QByteArray& bytes)
{
    const QByteArray unfinished = kNewPrefix + QByteArray::number(qint64(::getpid())) + '-' + name;
    ::unlinkat(folder.descriptor(), unfinished.constData(), 0);
    const int file =
        ::openat(folder.descriptor(), unfinished.constData(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (file < 0)
        return;
    const Head head = headOf(state, bytes.constData(), std::size_t(bytes.size()));
    const bool isWritten = writeAll(file, &head, sizeof(head)) && writeAll(file, bytes.constData(), std::size_t(bytes.size()));
    const bool isClosed = ::close(file) == 0;
    if (!isWritten || !isClosed
        || ::renameat(folder.descriptor(), unfinished.constData(), folder.descriptor(), name.constData()) != 0)
        ::unlinkat(folder.descriptor(), unfinished.constData(), 0);
}
}
}
