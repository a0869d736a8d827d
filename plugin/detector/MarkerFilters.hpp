#pragma once

#include <QString>

#include <cstdint>
#include <unordered_set>
#include <vector>

namespace Tavola
{
/// The card codes that a detector accepts: single codes and ranges, read from a text such as "10,20-25,30".
/// Without an entry every code is valid. A value; one thread.
struct MarkerFilters
{
    struct CodeRange
    {
        std::uint64_t low = 0;
        std::uint64_t high = 0; ///< included
        bool lowBounded = false;
        bool highBounded = false;
    };

    MarkerFilters();

    /// Replaces all entries by those of `text`. A malformed entry is logged as an error and skipped.
    void parse(const QString& text);
    [[nodiscard]] bool validCode(std::uint64_t code) const;

    bool hasFilters = false; ///< at least one entry was accepted
    std::unordered_set<std::uint64_t> singleCodes;
    std::vector<CodeRange> codeRanges;

private:
    /// Adds one entry; false when it is malformed.
    bool parseEntry(const QString& entry);
};
}
