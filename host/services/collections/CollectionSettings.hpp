#pragma once

#include <QString>

#include <optional>

namespace Host
{
/// How long a table keeps what cards collect. A plain record.
struct CollectionSettings
{
    static constexpr qint64 kLongestDays = 3650;

    qint64 keepSeconds = 0; ///< since an item was stored; 0: for ever

    /// Reads "30d", "12h" or "forever"; nothing for another text.
    [[nodiscard]] static std::optional<CollectionSettings> parse(const QString& keep);
};
}
