#pragma once

#include "services/collections/SyncedFolder.hpp"

#include <QString>
#include <QStringList>

#include <set>

namespace Host
{
/// The folder with the preview pictures of a collection store. Any thread, but one at a time for each picture.
class CollectionPreviews : public SyncedFolder
{
public:
    enum class Copied {
        Yes,
        NoSource, ///< the picture cannot be read: the item goes without a preview
        Failed    ///< the folder cannot be written
    };

    using SyncedFolder::SyncedFolder;

    /// Whether a path is one of this folder's.
    [[nodiscard]] bool contains(const QString& path) const;
    /// Copies a picture into the folder, under a name that is `key` and the picture's ending. A file of that name is replaced.
    [[nodiscard]] Copied copy(const QString& picture, const QString& key, QString& name, QString& error) const;
    /// Removes files; those that are missing are ignored.
    void remove(const QStringList& names) const;
    /// Removes files whose name is not in `wanted`: a power cut leaves pictures behind whose items were not stored. One of the
    /// last hour stays, since its item may be about to be stored.
    void removeAllBut(const std::set<QString>& wanted) const;
};
}
