// A library to be preloaded into a program (LD_PRELOAD): keeps aside what the program has brought to the disk with fsync() and
// fdatasync(), and nothing else. After the program was killed, the state of a folder as a power cut may leave it is made of that
// (tests/lasting/power.py): of each folder the entries that it had when it was synced, of each file its content then.
//
// SYNCED_ROOT is the folder; in SYNCED_COPY, another one, "f-INODE" is the content of a file, and "d-INODE" has a line
// "INODE KIND NAME" for each entry of a folder.

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <mutex>
#include <set>
#include <string>

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
struct Copies
{
    const char* root = std::getenv("SYNCED_ROOT");
    const char* folder = std::getenv("SYNCED_COPY");
    std::mutex mutex;
    std::set<ino_t> known;
};

Copies& copies()
{
    static auto* const all = new Copies; // files are synced while the program ends, too
    return *all;
}

std::string listing(const std::string& path)
{
    std::string lines;
    DIR* const folder = ::opendir(path.c_str());
    while (const dirent* entry = folder ? ::readdir(folder) : nullptr)
        if (std::strcmp(entry->d_name, ".") != 0 && std::strcmp(entry->d_name, "..") != 0)
            lines += std::to_string(entry->d_ino) + (entry->d_type == DT_DIR ? " d " : " f ") + entry->d_name + "\n";
    if (folder)
        ::closedir(folder);
    return lines;
}

/// Reads through `descriptor`: closing another one of the same file would end the program's locks on it.
std::string content(int descriptor, const std::string& path)
{
    if ((::fcntl(descriptor, F_GETFL) & O_ACCMODE) == O_WRONLY) {
        std::ifstream file(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    std::string bytes;
    char piece[65536];
    for (ssize_t count = 0; (count = ::pread(descriptor, piece, sizeof piece, off_t(bytes.size()))) > 0;)
        bytes.append(piece, std::size_t(count));
    return bytes;
}

void keepAside(int descriptor)
{
    Copies& all = copies();
    struct stat info = {};
    char path[4096] = {};
    if (!all.root || !all.folder || ::fstat(descriptor, &info) != 0
        || ::readlink(("/proc/self/fd/" + std::to_string(descriptor)).c_str(), path, sizeof path - 1) < 0
        || std::strncmp(path, all.root, std::strlen(all.root)) != 0)
        return;
    const std::lock_guard<std::mutex> guard(all.mutex);
    const bool isFolder = S_ISDIR(info.st_mode);
    // The number of a file that is removed is not given to another one as long as the file is open.
    if (all.known.insert(info.st_ino).second) {
        [[maybe_unused]] const int held = ::dup(descriptor);
    }
    const std::string bytes = isFolder ? listing(path) : content(descriptor, path);
    const std::string name = std::string(all.folder) + (isFolder ? "/d-" : "/f-") + std::to_string(info.st_ino);
    std::ofstream(name + ".new", std::ios::binary) << bytes;
    std::rename((name + ".new").c_str(), name.c_str());
}

int synced(const char* function, int descriptor)
{
    using Function = int (*)(int);
    const auto original = reinterpret_cast<Function>(::dlsym(RTLD_NEXT, function));
    const int result = original(descriptor);
    const int fault = errno;
    if (result == 0)
        keepAside(descriptor);
    errno = fault;
    return result;
}
}

extern "C" __attribute__((visibility("default"))) int fsync(int descriptor)
{
    return synced("fsync", descriptor);
}

extern "C" __attribute__((visibility("default"))) int fdatasync(int descriptor)
{
    return synced("fdatasync", descriptor);
}
