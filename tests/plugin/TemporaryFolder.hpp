#pragma once

#include <QDir>
#include <QTemporaryDir>

namespace PluginTest
{
/// A new folder that is the system's temporary directory as long as this object lives.
class TemporaryFolder
{
public:
    TemporaryFolder() : m_before(qgetenv("TMPDIR")) { qputenv("TMPDIR", m_folder.path().toUtf8()); }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder()
    {
        if (m_before.isEmpty())
            qunsetenv("TMPDIR");
        else
            qputenv("TMPDIR", m_before);
    }
    [[nodiscard]] QString path() const { return m_folder.path(); }

private:
    QByteArray m_before;
    QTemporaryDir m_folder;
};
}
