#pragma once

#include "ItemStore.hpp"
#include "shared/Result.hpp"

#include <QString>

#include <chrono>

namespace MediaServer
{

/// Copies people's pages from a SQLite file, which a server used before, into another database. A card that has a page there
/// already keeps its address, and gets the items that it lacks; every other card keeps the address of the file. May be repeated.
/// Blocks, for as long as it takes.
struct PageImport
{
    int people = 0;       ///< cards whose page was not there
    int otherAddress = 0; ///< cards whose page has another address there
    int items = 0;        ///< that were not there

    /// A line for the log of a media server whose PostgreSQL database has no page yet: how to import the pages of a file. Empty
    /// otherwise. Blocks.
    [[nodiscard]] static QString advice(ItemStore& store, const QString& database);
    /// `database`: see Storage::Address. The error names the reason and the remedy; what was copied before stays.
    [[nodiscard]] static Result<PageImport> run(const QString& file, const QString& database,
                                                std::chrono::milliseconds deadline = std::chrono::seconds(30));
};

}
