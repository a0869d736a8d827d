#include "component/PluginStamp.hpp"

#include <QFile>

#include <algorithm>
#include <cstring>
#include <string_view>
#include <vector>

#include <elf.h>
#include <fcntl.h>
#include <link.h>
#include <unistd.h>

namespace Tavola
{
namespace
{
constexpr char kOwner[] = "TAVOLA";
constexpr char kLoaderOwner[] = "GNU";
constexpr quint32 kStampType = 1;
/// The notes lie at the beginning of a file.
constexpr int kReadBytes = 8192;

/// Empty for a file that cannot be read.
QByteArray startOf(const QString& path)
{
    const int file = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC);
    if (file < 0)
        return {};
    QByteArray start(kReadBytes, Qt::Uninitialized);
    const ssize_t count = ::read(file, start.data(), std::size_t(start.size()));
    ::close(file);
    start.truncate(int(std::max<ssize_t>(count, 0)));
    return start;
}

quint32 padded(quint32 size)
{
    return (size + 3u) & ~3u;
}

/// The content of the first note of that owner and type; empty when there is none. The bytes are not trusted.
std::string_view noteIn(std::string_view notes, const char* owner, quint32 type)
{
    while (notes.size() >= sizeof(ElfW(Nhdr))) {
        ElfW(Nhdr) head;
        std::memcpy(&head, notes.data(), sizeof(head));
        notes.remove_prefix(sizeof(head));
        if (head.n_namesz > notes.size() || head.n_descsz > notes.size()
            || padded(head.n_namesz) + padded(head.n_descsz) > notes.size())
            return {};
        if (head.n_type == type && head.n_namesz == std::strlen(owner) + 1
            && std::memcmp(notes.data(), owner, head.n_namesz) == 0)
            return notes.substr(padded(head.n_namesz), head.n_descsz);
        notes.remove_prefix(padded(head.n_namesz) + padded(head.n_descsz));
    }
    return {};
}

/// A line of a stamp.
struct LinkedLibrary
{
    std::string_view file;
    std::string_view build; ///< hexadecimal digits
    bool isFromHost;
};

/// The text up to the next such character, which is taken from `rest` with it.
std::string_view readUpTo(char end, std::string_view& rest)
{
    const std::string_view text = rest.substr(0, rest.find(end));
    rest.remove_prefix(std::min(rest.size(), text.size() + 1));
    return text;
}

bool isHexOf(std::string_view digits, std::string_view bytes)
{
    constexpr char kDigits[] = "0123456789abcdef";
    if (bytes.empty() || digits.size() != 2 * bytes.size())
        return false;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        const auto byte = static_cast<unsigned char>(bytes[i]);
        if (digits[2 * i] != kDigits[byte >> 4] || digits[2 * i + 1] != kDigits[byte & 15])
            return false;
    }
    return true;
}

bool isBuild(const dl_phdr_info& library, std::string_view build)
{
    for (int i = 0; i < library.dlpi_phnum; ++i) {
        const ElfW(Phdr)& part = library.dlpi_phdr[i];
        if (part.p_type != PT_NOTE)
            continue;
        const auto* const notes = reinterpret_cast<const char*>(library.dlpi_addr + part.p_vaddr);
        if (isHexOf(build, noteIn({notes, part.p_memsz}, kLoaderOwner, NT_GNU_BUILD_ID)))
            return true;
    }
    return false;
}

struct Comparison
{
    std::vector<LinkedLibrary> missing; ///< in the libraries of the program that were compared so far
    bool isSame = true;
};

/// Compares a library of the program; not 0 when none is missing any more, which ends the search.
int compareLibrary(dl_phdr_info* library, std::size_t, void* data)
{
    auto& comparison = *static_cast<Comparison*>(data);
    auto& missing = comparison.missing;
    const std::string_view path(library->dlpi_name);
    const std::string_view file = path.substr(path.rfind('/') + 1);
    const auto line =
        std::find_if(missing.begin(), missing.end(), [file](const LinkedLibrary& linked) { return linked.file == file; });
    if (line == missing.end())
        return 0;
    comparison.isSame = comparison.isSame && isBuild(*library, line->build);
    missing.erase(line);
    return missing.empty() ? 1 : 0;
}
}

QByteArray pluginStamp(const QString& path)
{
    const QByteArray start = startOf(path);
    ElfW(Ehdr) head;
    if (start.size() < int(sizeof(head)))
        return {};
    std::memcpy(&head, start.constData(), sizeof(head));
    if (std::memcmp(head.e_ident, ELFMAG, SELFMAG) != 0 || head.e_phentsize != sizeof(ElfW(Phdr)))
        return {};
    const auto size = std::size_t(start.size());
    for (std::size_t i = 0; i < head.e_phnum; ++i) {
        ElfW(Phdr) part;
        if (head.e_phoff > size || size - head.e_phoff < (i + 1) * sizeof(part))
            return {};
        std::memcpy(&part, start.constData() + head.e_phoff + i * sizeof(part), sizeof(part));
        if (part.p_type != PT_NOTE || part.p_offset > size || part.p_filesz > size - part.p_offset)
            continue;
        const std::string_view stamp = noteIn({start.constData() + part.p_offset, part.p_filesz}, kOwner, kStampType);
        if (!stamp.empty())
            return QByteArray(stamp.data(), int(qstrnlen(stamp.data(), uint(stamp.size()))));
    }
    return {};
}

StampCheck checkStamp(const QByteArray& stamp)
{
    Comparison comparison;
    std::string_view rest(stamp.constData(), std::size_t(stamp.size()));
    while (!rest.empty()) {
        std::string_view line = readUpTo('\n', rest);
        const std::string_view file = readUpTo(' ', line);
        const std::string_view build = readUpTo(' ', line);
        comparison.missing.push_back({file, build, line == "host"});
    }
    if (comparison.missing.empty())
        return {};
    dl_iterate_phdr(&compareLibrary, &comparison);
    StampCheck check;
    check.isSame = comparison.isSame && comparison.missing.empty();
    for (const LinkedLibrary& library : comparison.missing)
        if (library.isFromHost && check.missing.isEmpty())
            check.missing = QString::fromUtf8(library.file.data(), int(library.file.size()));
    return check;
}
}
