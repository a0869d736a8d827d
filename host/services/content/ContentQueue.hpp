#pragma once

#include "services/content/ContentNote.hpp"

#include <optional>
#include <vector>

namespace Host
{
/// The files that a media server may lack, kept in an SQLite file over restarts; one for each name. A failure is logged with its
/// remedy. Each call waits for the disk. Any thread.
class ContentQueue
{
public:
    /// `path`: of the SQLite file, made with its folder when the first file is kept.
    explicit ContentQueue(const QString& path) : m_path(path) {}

    /// In the order in which they were kept; nothing when they cannot be read.
    [[nodiscard]] std::optional<std::vector<ContentNote>> notes() const;
    /// On the disk when it returns true. A note of the same name is replaced.
    bool keep(const ContentNote& note) const;
    /// Removes exactly this note.
    bool remove(const ContentNote& note) const;

private:
    QString m_path;
};
}
