#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <set>

namespace Host
{
/// The folder with the preview pictures of a collection store. What a call has done is on the disk when it returns. Each call
/// waits for the disk. Any thread, but one that writes.
class CollectionPreviews
{
public:
    enum class Copied {
        Yes,
        NoSource, ///< the picture cannot be read: the item goes without a preview
        Failed    ///< the folder cannot be written
    };

    /// `folder`: absolute.
    explicit CollectionPreviews(const QString& folder) : m_folder(folder) {}

    /// Makes the folder and those above it, and has them all on the disk. False, with the reason in `error`.
    [[nodiscard]] bool prepare(QString& error) const;
    [[nodiscard]] QString path(const QString& name) const;
    /// Whether a path is one of this folder's.
    [[nodiscard]] bool contains(const QString& path) const;
    /// Copies a picture into the folder, under a name that is `key` and the picture's ending. A file of that name is replaced.
    [[nodiscard]] Copied copy(const QString& picture, const QString& key, QString& name, QString& error) const;
    /// Writes a picture under that name. False, with the reason in `error`.
    [[nodiscard]] bool write(const QString& name, const QByteArray& bytes, QString& error) const;
    /// Removes files; those that are missing are ignored.
    void remove(const QStringList& names) const;
    /// Removes files whose name is not in `wanted`: a power cut leaves pictures behind whose items were not stored. One of the
    /// last hour stays, since its item may be about to be stored by another program.
    void removeAllBut(const std::set<QString>& wanted) const;

private:
    const QString m_folder;
};
}
