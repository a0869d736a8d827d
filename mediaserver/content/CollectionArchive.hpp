#pragma once

#include "shared/Result.hpp"

#include <Http/Message.hpp>

#include <QString>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace MediaServer
{

/// One entry of an archive: a file that is opened when its turn comes, or a text where there is none.
struct ArchiveEntry
{
    QString name;
    std::function<Http::File()> open; ///< a file that cannot be opened by then is left out
    QByteArray text;
};

/// A ZIP file of a collection, made piece by piece while it is sent: it needs memory for a piece, one open file, and no disk.
/// Nothing is compressed: pictures and films are already. Of entries with one name the later ones get a number. One thread; each
/// call takes as long as the disk.
class CollectionArchive
{
public:
    explicit CollectionArchive(std::vector<ArchiveEntry> entries);
    ~CollectionArchive();
    CollectionArchive(const CollectionArchive&) = delete;
    CollectionArchive& operator=(const CollectionArchive&) = delete;

    /// The next piece, of a few KiB; empty at the end. Nothing when a file changes while it is read or cannot be: what was made
    /// so far is no archive. The error is for the log.
    [[nodiscard]] Result<QByteArray> next();

private:
    struct Private;
    std::unique_ptr<Private> d;
};

}
