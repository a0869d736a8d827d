#pragma once

#include "shared/Result.hpp"

#include <Http/Message.hpp>

#include <QByteArray>
#include <QString>

namespace MediaServer
{

/// Files that arrive in pieces. They lie in the folder ".incoming" of the content folder, where no page shows them, until they
/// are whole; then they appear under their name in one step, and never in place of another file. A piece that has been written
/// is kept over restarts, so that a transfer goes on where it ended. Any thread, one at a time for each file.
class IncomingFiles
{
public:
    /// A file that a table announced.
    struct Id
    {
        QString name;      ///< bare name, see ContentFolder::isBareName
        QByteArray sha256; ///< 64 hexadecimal digits
    };

    enum class Ending {
        Placed,
        NameInUse,    ///< the content folder has a file of that name by now; what came is removed
        OtherContent, ///< what came does not have the hash; it is removed
        Failed,       ///< the system refused; what came is kept
    };

    /// `contentFolder`: its path. Removes what has come of files that have not grown for a week, by the
    /// names that this class gives, and nothing where ".incoming" is a link.
    explicit IncomingFiles(const QString& contentFolder);

    /// Whether files can be written; makes the folder for them when it is missing. An operator may give a content folder that
    /// the server can only read.
    [[nodiscard]] bool isWritable() const;

    /// How many bytes of the file are there; 0 before the first piece.
    [[nodiscard]] qint64 received(const Id& id) const;

    /// Adds a piece that begins at byte `from`, where what is there has to end. The bytes that are there afterwards, or the
    /// system's words; a piece that does not fit on the disk is taken back.
    [[nodiscard]] Result<qint64> append(const Id& id, qint64 from, const QByteArray& piece) const;

    /// Gives the file, which is whole, its name. Reads all of it and waits for the disk. `file`: the open file when it is
    /// placed; `reason`: the system's words when it fails.
    [[nodiscard]] Ending place(const Id& id, Http::File& file, QString& reason) const;

private:
    [[nodiscard]] QByteArray asideName(const Id& id) const;
    void removeOld() const;

    QByteArray m_folder; ///< in the file system's encoding
    QByteArray m_aside;
};

}
