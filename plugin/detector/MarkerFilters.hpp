#pragma once

#include <QString>

#include <cstdint>
#include <unordered_set>
#include <vector>

namespace Tavola
{
/// Which card codes a detector takes as its own: single codes and ranges, as the text "10,20-25,30" says.
/// Without an entry every code is valid.
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

    /// Reads the text in place of what was read before. An entry that is none is logged as an error and skipped.
    void parse(const QString& text);
    [[nodiscard]] bool validCode(std::uint64_t code) const;

    bool hasFilters = false; ///< at least one entry was accepted
    std::unordered_set<std::uint64_t> singleCodes;
    std::vector<CodeRange> codeRanges;

private:
    bool parseEntry(const QString& entry);
};
}
