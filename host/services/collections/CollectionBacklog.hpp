#pragma once

#include "services/collections/CollectionDatabase.hpp"
#include "services/collections/SyncedFolder.hpp"

#include <QString>

#include <vector>

namespace Host
{
/// The changes that are not in the database yet, in a file of the table: the end of its program, however that comes, loses none
/// of them. What a call has done is on the disk when it returns. One thread.
class CollectionBacklog
{
public:
    using Change = CollectionDatabase::Change;

    /// `folder`: absolute; made when something is to be written.
    explicit CollectionBacklog(const QString& folder) : m_folder(folder) {}
    /// Removes the file when nothing is in it.
    ~CollectionBacklog();
    CollectionBacklog(const CollectionBacklog&) = delete;
    CollectionBacklog& operator=(const CollectionBacklog&) = delete;

    [[nodiscard]] QString path() const { return m_folder.path(name()); }
    /// What an earlier program has left, in the order in which it is to be written. `unreadable`: how many changes are damaged;
    /// one that was being written when the power failed is not counted.
    [[nodiscard]] std::vector<Change> read(int& unreadable);
    /// All of them, or on failure (the reason in `error`) none.
    [[nodiscard]] bool append(const std::vector<Change>& changes, QString& error);
    /// All that is in the file is in the database. False, with the reason in `error`.
    [[nodiscard]] bool clear(QString& error);

private:
    static QString name() { return QStringLiteral("unwritten"); }

    const SyncedFolder m_folder;
    bool m_isEmpty = true;
};
}
