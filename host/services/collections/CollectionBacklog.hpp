#pragma once

#include "services/collections/CollectionDatabase.hpp"
#include "services/collections/CollectionPreviews.hpp"

#include <QByteArray>
#include <QString>

#include <vector>

namespace Host
{
/// The changes that could not be written to the database yet, in a file of the table, so that the end of its program loses none
/// of them. What a call has done is on the disk when it returns. One thread.
class CollectionBacklog
{
public:
    using Change = CollectionDatabase::Change;

    /// `folder`: absolute; made when something is to be written.
    explicit CollectionBacklog(const QString& folder) : m_folder(folder) {}

    [[nodiscard]] QString path() const { return m_folder.path(name()); }
    /// What an earlier program has left, in the order in which it is to be written. `unreadable`: how many changes are damaged.
    [[nodiscard]] std::vector<Change> read(int& unreadable);
    /// Replaces the content of the file, which there is none of without changes. False, with the reason in `error`.
    [[nodiscard]] bool write(const std::vector<Change>& changes, QString& error);

private:
    static QString name() { return QStringLiteral("unwritten"); }

    const CollectionPreviews m_folder;
    QByteArray m_written; ///< the file's content
};
}
