#pragma once

#include <Bedrock/Export.hpp>

#include <QString>

#include <memory>

namespace Bedrock
{
/// A folder for the temporary files of one process: new, open to its user alone (0700), locked while the object lives and
/// removed with everything in it at the end. Nothing in a shared folder such as /tmp is trusted or followed: another account may
/// have put it there. One thread.
class TAVOLA_EXPORT PrivateFolder
{
public:
    /// Makes "`base`/`prefix`-XXXXXX", six letters and digits at the end. What killed processes of this user left in `base` is
    /// removed first: real folders of this user with such a name and a lock that no process holds, and those without a lock that
    /// are an hour old and empty. Null with a sentence in `error` when the folder cannot be made.
    [[nodiscard]] static std::unique_ptr<PrivateFolder> make(const QString& base, const QString& prefix, QString& error);
    ~PrivateFolder();
    PrivateFolder(const PrivateFolder&) = delete;
    PrivateFolder& operator=(const PrivateFolder&) = delete;

    /// Absolute, without a slash at its end.
    [[nodiscard]] const QString& path() const { return m_path; }

private:
    PrivateFolder(const QString& path, int lock) : m_path(path), m_lock(lock) {}

    QString m_path;
    int m_lock; ///< descriptor of the locked file in the folder
};

/// Removes the folder `name` in the folder `parent` with everything in it. Links are removed, never followed; nothing is removed
/// through a folder of another user or on another file system. False when something stays.
[[nodiscard]] TAVOLA_EXPORT bool removeFolder(const QString& parent, const QString& name);
}
