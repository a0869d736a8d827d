#pragma once

#include <Bedrock/WorkerPool.hpp>

#include <QImage>
#include <QString>

#include <folly/futures/Future.h>

namespace Tavola
{
/// Writes pictures to PNG files on threads of its own. Owns the folder of the files without a name, which is made with the
/// first one and removed at the end, after everything that was begun has been written.
class SnapshotWriter
{
public:
    SnapshotWriter();
    ~SnapshotWriter();
    SnapshotWriter(const SnapshotWriter&) = delete;
    SnapshotWriter& operator=(const SnapshotWriter&) = delete;

    /// Main thread; the future is completed on a thread of the writer; on the main one while a table is recorded or replayed.
    [[nodiscard]] folly::Future<QString> write(QImage image, const QString& fileName);

private:
    QString m_folder;
    bool m_folderMade = false;
    long m_filesNamed = 0;
    Bedrock::WorkerPool m_threads; ///< last member: its threads end first
};
}
