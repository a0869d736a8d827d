#pragma once

#include <Bedrock/WorkerPool.hpp>

#include <QImage>
#include <QString>

#include <folly/futures/Future.h>

#include <memory>

class QTemporaryDir;

namespace Tavola
{
/// Writes pictures to PNG files on threads of its own.
///
/// Pictures without a name go to a folder in the folder of temporary files that only the user of this process can read, named
/// tavola-snapshots-…; it is made with the first of them and removed at the end, after everything that was begun has
/// been written. Files there are named after what they show: a table that runs for weeks keeps one file for each look of its
/// content, however often that is collected.
class SnapshotWriter
{
public:
    SnapshotWriter();
    ~SnapshotWriter();
    SnapshotWriter(const SnapshotWriter&) = delete;
    SnapshotWriter& operator=(const SnapshotWriter&) = delete;

    /// Main thread; the future is completed there, in the input step of a later frame. A file that cannot be written fails it.
    [[nodiscard]] folly::Future<QString> write(QImage image, const QString& fileName);

private:
    /// Made anew when it was removed; empty when that is impossible.
    QString folder();

    std::unique_ptr<QTemporaryDir> m_folder;
    Bedrock::WorkerPool m_threads; ///< last member: its threads end first
};
}
