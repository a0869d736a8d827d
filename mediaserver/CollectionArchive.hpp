#pragma once

#include "Result.hpp"

#include <Http/Message.hpp>

#include <QString>

#include <vector>

namespace MediaServer
{

/// One entry of an archive: an open file, or a text where there is none.
struct ArchiveEntry
{
    QString name;
    Http::File file;
    QByteArray text;
};

/// Packs a collection into a ZIP file without a name in the temporary folder, which goes with the returned file. Nothing is
/// compressed: pictures and films are already. Of entries with one name the later ones get a number. Needs memory for a
/// piece of a file only; takes as long as the disk. Any thread. The error is for the log.
[[nodiscard]] Result<Http::File> packCollection(const std::vector<ArchiveEntry>& entries);

} // namespace MediaServer
