#pragma once

#include "services/SqliteTransaction.hpp"
#include "services/collections/CollectedItem.hpp"
#include "services/collections/CollectionPreviews.hpp"

#include <QString>
#include <QStringList>

#include <functional>
#include <optional>
#include <vector>

namespace Host
{
/// What cards have collected, in a SQLite file with the folder of its previews beside it. Everything is on the disk when a call
/// returns true; what a power cut interrupts is as before or done. Each call waits for the disk, and up to five seconds for
/// another program's lock. Any thread, but one at a time.
class CollectionFile
{
public:
    /// What is to become of one item.
    struct Change
    {
        enum class Kind {
            Add,    ///< a new item; one that is there already gets the new values
            Update, ///< one that is gone stays gone
            Remove  ///< one that is gone is done
        };
        Kind kind = Kind::Add;
        unsigned long code = 0;
        CollectedItem item; ///< for Remove the key alone
    };
    /// What is kept for one card.
    struct Card
    {
        unsigned long code = 0;
        int items = 0;
        qint64 first = 0; ///< when its oldest item was stored, in seconds since 1970
        qint64 last = 0;
    };
    /// Called with what failed, the reason, and what to do about it.
    using Report = std::function<void(const QString& what, const QString& reason, const QString& remedy)>;

    /// `path`: of the SQLite file, absolute. Touches no file.
    CollectionFile(const QString& path, Report report);

    [[nodiscard]] const QString& path() const noexcept { return m_path; }
    /// Makes or opens the file and its folders, and removes previews without an item. To be called until it is true before
    /// anything else is. False, reported, when that is not possible.
    [[nodiscard]] bool open();
    /// Whether there is anything to open.
    [[nodiscard]] bool exists() const;

    /// All of the changes, or on failure (reported) none. `now`: in seconds since 1970.
    [[nodiscard]] bool apply(const std::vector<Change>& changes, qint64 now);
    /// What a card has collected since a time, in the order of the drops; nothing when it cannot be read (reported). A preview
    /// whose file is missing is empty.
    [[nodiscard]] std::optional<std::vector<CollectedItem>> items(unsigned long code, qint64 since) const;
    /// Removes what was stored before a time. Returns how many; nothing on failure (reported).
    [[nodiscard]] std::optional<int> removeBefore(qint64 time);
    /// By code, ascending; nothing when they cannot be read (reported).
    [[nodiscard]] std::optional<std::vector<Card>> cards() const;
    /// Removes everything that these cards have, or that all have. Returns how many; nothing on failure (reported).
    [[nodiscard]] std::optional<int> clear(const std::vector<unsigned long>& codes);
    [[nodiscard]] std::optional<int> clearAll();

private:
    [[nodiscard]] SqliteTransaction::Report failing(const char* what) const;
    [[nodiscard]] bool copyPreview(const Change& change, QString& name) const;
    [[nodiscard]] bool add(SqliteTransaction& writing, const Change& change, const QString& preview, qint64 now);
    static bool update(SqliteTransaction& writing, const Change& change, const QString& preview);
    [[nodiscard]] std::optional<int> removeWhere(const QString& condition, const std::vector<QVariant>& values);

    const QString m_path;
    const CollectionPreviews m_previews;
    const Report m_report;
    qint64 m_run = 0; ///< among the programs that have written to the file, counted from 1; 0 until this one has
};
}
