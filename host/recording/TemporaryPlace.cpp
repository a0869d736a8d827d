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
    : m_folder(Bedrock::PrivateFolder::make(QDir::tempPath(), QStringLiteral("tavola-table"), m_error)),
      m_hadOther(qEnvironmentVariableIsSet(kVariable)), m_other(qgetenv(kVariable))
{
    if (m_folder)
        qputenv(kVariable, QFile::encodeName(m_folder->path()));
}

TemporaryPlace::~TemporaryPlace()
{
    if (m_hadOther)
        qputenv(kVariable, m_other);
    else
        qunsetenv(kVariable);
}
}
