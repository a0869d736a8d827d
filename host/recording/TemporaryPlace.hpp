#pragma once

#include <Bedrock/PrivateFolder.hpp>

#include <QByteArray>
#include <QString>

#include <memory>

namespace Host
{
/// The folder of temporary files is a private one for as long as this lives, in the whole process (TMPDIR): new, so that a table
/// finds nothing of what earlier ones or other accounts left, and open to its user alone. Its files go with it; those of killed
/// tables are removed when the next one begins. To be made before any file is written and before threads read the environment.
/// Main thread only.
class TemporaryPlace
{
public:
    TemporaryPlace();
    ~TemporaryPlace();
    TemporaryPlace(const TemporaryPlace&) = delete;
    TemporaryPlace& operator=(const TemporaryPlace&) = delete;

    /// False when it could not be made; everything is then as before.
    [[nodiscard]] bool isValid() const { return m_folder != nullptr; }
    /// Why it is not valid: a sentence for the operator.
    [[nodiscard]] const QString& error() const { return m_error; }
    /// Of a valid one.
    [[nodiscard]] const QString& path() const { return m_folder->path(); }

private:
    QString m_error;
    std::unique_ptr<Bedrock::PrivateFolder> m_folder;
    bool m_hadOther;
    QByteArray m_other;
};
}
