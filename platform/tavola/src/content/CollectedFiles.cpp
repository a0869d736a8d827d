#include <Tavola/CollectedFiles.hpp>

#include <QFileInfo>

namespace Tavola
{
void CollectedFiles::add(const QString& path)
{
    m_paths.insert(QFileInfo(path).fileName(), path);
}
}
