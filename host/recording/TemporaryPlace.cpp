#include "recording/TemporaryPlace.hpp"

#include <QDir>
#include <QFile>

namespace Host
{
namespace
{
// Read by Qt each time it is asked for the folder of temporary files.
constexpr char kVariable[] = "TMPDIR";
}

TemporaryPlace::TemporaryPlace()
    : m_folder(QDir::tempPath() + QStringLiteral("/tavola-recording-XXXXXX")), m_hadOther(qEnvironmentVariableIsSet(kVariable)),
      m_other(qgetenv(kVariable))
{
    if (m_folder.isValid())
        qputenv(kVariable, QFile::encodeName(m_folder.path()));
}

TemporaryPlace::~TemporaryPlace()
{
    if (m_hadOther)
        qputenv(kVariable, m_other);
    else
        qunsetenv(kVariable);
}
}
