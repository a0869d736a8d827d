#include "table/TemporaryPlace.hpp"

#include <QDir>
#include <QFile>

#include <sys/stat.h>
#include <unistd.h>

namespace Host
{
namespace
{
// Read by Qt each time it is asked for one of these folders.
constexpr char kTemporary[] = "TMPDIR";
constexpr char kRuntime[] = "XDG_RUNTIME_DIR";

/// Where temporary files lay before. Qt's answer is empty, and means the current directory, when that folder is missing.
QString base()
{
    const QByteArray named = qgetenv(kTemporary);
    return named.isEmpty() ? QDir::tempPath() : QFile::decodeName(named);
}

bool isOfThisUserAlone(const QByteArray& folder)
{
    struct stat status = {};
    return ::stat(folder.constData(), &status) == 0 && S_ISDIR(status.st_mode) && status.st_uid == ::geteuid()
        && (status.st_mode & 077) == 0;
}
}

TemporaryPlace::Variable::Variable(const char* name)
    : m_name(name), m_wasSet(qEnvironmentVariableIsSet(name)), m_before(qgetenv(name))
{
}

TemporaryPlace::Variable::~Variable()
{
    if (m_wasSet)
        qputenv(m_name, m_before);
    else
        qunsetenv(m_name);
}

void TemporaryPlace::Variable::set(const QString& path)
{
    qputenv(m_name, QFile::encodeName(path));
}

TemporaryPlace::TemporaryPlace()
    : m_folder(Bedrock::PrivateFolder::make(base(), QStringLiteral("tavola-table"), m_error)), m_temporary(kTemporary),
      m_runtime(kRuntime)
{
    if (!m_folder)
        return;
    m_temporary.set(path());
    if (isOfThisUserAlone(qgetenv(kRuntime)))
        return;
    const QString runtime = path() + QStringLiteral("/runtime");
    if (::mkdir(QFile::encodeName(runtime).constData(), 0700) == 0)
        m_runtime.set(runtime);
}
}
