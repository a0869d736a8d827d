#pragma once

#include "services/SqliteTransaction.hpp"
#include "services/content/ContentNote.hpp"

#include <Bedrock/RareWarnings.hpp>

#include <mutex>
#include <optional>
#include <vector>

namespace Host
{
/// The files that a media server may lack, kept in an SQLite file over restarts; one for each name. A failure is logged with its
/// remedy, each reason at most once a minute. Each call waits for the disk. Any thread.
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
    SqliteTransaction::Report warning() const;

    const QString m_path;
    mutable std::mutex m_mutex;                               ///< guards the warnings
    mutable Bedrock::RareWarnings m_warnings{"ContentQueue"}; ///< a full disk fails every call
};
}
