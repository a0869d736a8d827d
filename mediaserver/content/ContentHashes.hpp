#pragma once

#include "ContentFolder.hpp"

#include <Bedrock/WorkerPool.hpp>

#include <functional>
#include <map>
#include <vector>

namespace MediaServer
{

/// The SHA-256 of files in the content folder, as 64 hexadecimal digits in small letters. Files are read on a thread of this
/// class, one at a time; a hash is remembered until the file changes. On the server's thread.
class ContentHashes
{
public:
    /// Runs a function on the server's thread, later. Called on any thread.
    using Post = std::function<void(std::function<void()>)>;
    using Done = std::function<void()>;

    ContentHashes(const ContentFolder& content, Post post);

    /// The hash of the open file of that name; null when it is not known, because the file is new or has changed.
    [[nodiscard]] QByteArray known(const QString& name, const Http::File& file) const;

    /// Reads the file and calls `done` through post, also when the file could not be read. Calls for one name share a reading.
    void read(const QString& name, Done done);

    /// The open file is known to have that hash.
    void remember(const QString& name, const Http::File& file, const QByteArray& sha256);

private:
    struct Known
    {
        QByteArray identity; ///< of the file with that content
        QByteArray sha256;
    };

    const ContentFolder& m_content;
    Post m_post;
    std::map<QString, Known> m_known;
    std::map<QString, std::vector<Done>> m_waiting; ///< by the file that is being read
    Bedrock::WorkerPool m_reader{1};                ///< last member: its thread ends first
};

/// What changes whenever the content of an open file changes: its place on the disk, size and times. Any thread.
[[nodiscard]] QByteArray identityOf(const Http::File& file);

/// The SHA-256 of an open file, read from its beginning; null when it cannot be read. Any thread; takes as long as the disk.
[[nodiscard]] QByteArray sha256Of(const Http::File& file);

}
