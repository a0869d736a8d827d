#pragma once

#include <Bedrock/Export.hpp>

#include <QHash>
#include <QString>

namespace Tavola
{
/// The files of this computer that content was described with (`FileRepresentation::widgetData`), by their bare names. The
/// commands to a media server carry names alone; a service that sends the content there finds the path here. A part of the
/// application
/// (`Tavola::part<CollectedFiles>()`). Main thread only.
class TAVOLA_EXPORT CollectedFiles
{
public:
    /// `path`: absolute. Of two files with one name the later one counts.
    void add(const QString& path);
    /// Empty for a name that no file had.
    [[nodiscard]] QString path(const QString& name) const { return m_paths.value(name); }

private:
    QHash<QString, QString> m_paths;
};
}
