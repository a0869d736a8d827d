#pragma once

#include <QString>

class QIODevice;

namespace Host
{
/// The folders in which an outbox keeps copies of attachments, one for each message. Any thread; nothing is shared.
/// Everything written is on the disk when `finish` has returned.
class OutboxFiles
{
public:
    enum class Copy {
        Done,
        Unreadable, ///< the source's fault
        DiskFault   ///< ours: the disk is full or broken
    };

    /// `root` is made when it is not there.
    explicit OutboxFiles(const QString& root) : m_root(root) {}

    /// A new folder of a name that was never used; empty, with the reason in `error`, on failure.
    [[nodiscard]] QString makeFolder(QString& error) const;
    [[nodiscard]] QString path(const QString& folder, int number) const;
    /// Copies from the beginning of `source`, piece by piece. A source that is no ordinary file (a pipe, a socket) is not even
    /// asked: it could keep us waiting.
    [[nodiscard]] Copy copy(QIODevice& source, const QString& folder, int number, qint64& sizeBytes, QString& error) const;
    /// Makes the folder itself durable.
    [[nodiscard]] bool finish(const QString& folder, QString& error) const;
    void remove(const QString& folder) const;
    /// Removes what belongs to no message.
    void removeAllBut(const QStringList& folders) const;

private:
    QString m_root;
};
}
