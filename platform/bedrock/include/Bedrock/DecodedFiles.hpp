#pragma once

#include <Bedrock/Export.hpp>

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <memory>
#include <optional>

namespace Bedrock
{
/// Keeps on the disk what a presentation's files were decoded to, such as the pixels of its pictures, so that the next start
/// decodes none of them. An entry holds for one state of its file: when the file has changed, the entry is not found. The least
/// recently used entries are removed beyond a limit in bytes.
///
/// The folder is open to its user alone (0700), and no path or name stands in it. Entries are not trusted: one of another length,
/// with another checksum, of another user, or made by another version of this program or of Qt is not found.
///
/// What cannot be kept (a full disk, a folder of another user) is decoded each time, without a message. Operations: any thread;
/// they read and write files.
class TAVOLA_EXPORT DecodedFiles
{
public:
    struct Settings
    {
        QString folder;       ///< absolute; made with the first entry
        qint64 mostBytes = 0; ///< of all entries
        QString root;         ///< what is decoded from files outside of this folder is not kept
        QStringList unkept;   ///< nor from files in these folders, unless the root lies in them: what visitors leave behind
    };
    /// A file in the state that it had when the source was asked for, and what is wanted of it. A plain record.
    struct Source
    {
        QString path;
        QByteArray entry; ///< name of its file in the folder
        QByteArray state; ///< of the file, hashed together with the versions of the decoders
    };

    /// Bytes of an entry, mapped from the disk. They stay as they are as long as the object lives, whatever becomes of the entry.
    class TAVOLA_EXPORT Bytes
    {
    public:
        ~Bytes();
        Bytes(const Bytes&) = delete;
        Bytes& operator=(const Bytes&) = delete;
        /// At a multiple of four. Valid while the object lives, as is the view.
        [[nodiscard]] const char* data() const noexcept;
        [[nodiscard]] qint64 size() const noexcept;
        [[nodiscard]] QByteArray view() const { return QByteArray::fromRawData(data(), int(size())); }

    private:
        friend class DecodedFiles;
        Bytes();
        struct Private;
        std::unique_ptr<Private> d;
    };

    explicit DecodedFiles(const Settings& settings);
    ~DecodedFiles();
    DecodedFiles(const DecodedFiles&) = delete;
    DecodedFiles& operator=(const DecodedFiles&) = delete;

    /// What the process keeps; null, as it is at first, keeps nothing.
    [[nodiscard]] static std::shared_ptr<DecodedFiles> shared();
    static void setShared(std::shared_ptr<DecodedFiles> kept);

    /// Ask before reading the file. `wanted` is anything that tells one result from another of the same file. Nothing for a
    /// file of which nothing is kept.
    [[nodiscard]] std::optional<Source> source(const QString& path, const QByteArray& wanted) const;
    /// What was kept of the source; null when there is nothing.
    [[nodiscard]] std::shared_ptr<const Bytes> find(const Source& source) const;
    /// Keeps `decoded`, which came from the source; does nothing when the file has changed since the source was asked for.
    void keep(const Source& source, const QByteArray& decoded);

private:
    struct Private;
    std::unique_ptr<Private> d;
};
}
