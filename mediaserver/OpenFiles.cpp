#include "OpenFiles.hpp"

#include <algorithm>
#include <cerrno>
#include <sys/resource.h>
#include <system_error>

namespace MediaServer
{

namespace
{

constexpr rlim_t kFilesPerConnection = 2;
/// For the database, the event loop, the standard streams, short-lived files and descriptors inherited at the start.
constexpr rlim_t kOtherFiles = 48;
constexpr rlim_t kFewestConnections = 16;

}

Result<std::size_t> connectionsWithinOpenFiles(std::size_t wanted)
{
    rlimit files{};
    if (::getrlimit(RLIMIT_NOFILE, &files) != 0) {
        return tl::unexpected(QStringLiteral("The limit of open files cannot be read: %1")
                                  .arg(QString::fromStdString(std::generic_category().message(errno))));
    }
    // No higher than needed: some code closes all possible descriptors one by one.
    const rlim_t needed = wanted * kFilesPerConnection + kOtherFiles;
    if (files.rlim_cur < needed && files.rlim_cur < files.rlim_max) {
        const rlimit raised{std::min(needed, files.rlim_max), files.rlim_max};
        if (::setrlimit(RLIMIT_NOFILE, &raised) == 0)
            files = raised;
    }
    const rlim_t forConnections = files.rlim_cur > kOtherFiles ? files.rlim_cur - kOtherFiles : 0;
    const rlim_t connections = std::min<rlim_t>(wanted, forConnections / kFilesPerConnection);
    if (connections < std::min<rlim_t>(wanted, kFewestConnections)) {
        return tl::unexpected(
            QStringLiteral("The system allows %1 open files, which is too few: allow %2 (LimitNOFILE of a systemd "
                           "service, ulimit -n of a shell)")
                .arg(files.rlim_cur)
                .arg(needed));
    }
    return static_cast<std::size_t>(connections);
}

}
