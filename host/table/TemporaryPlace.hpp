#pragma once

#include <Bedrock/PrivateFolder.hpp>

#include <QByteArray>
#include <QString>

#include <memory>

namespace Host
{
/// The folder of temporary files is a private one for as long as this lives, in the whole process (TMPDIR): new, so that a table
/// finds nothing of what earlier ones or other accounts left, and open to its user alone. Its files go with it; those of killed
/// tables are removed when the next one begins. The folder for sockets of the session (XDG_RUNTIME_DIR) is one in it where the
/// environment names none, or one that is not this user's alone: Qt would make one beside the private folder.
///
/// To be made before Qt's application, before any file is written and before threads read the environment. Main thread only.
class TemporaryPlace
{
public:
    TemporaryPlace();
    ~TemporaryPlace() = default;
    TemporaryPlace(const TemporaryPlace&) = delete;
    TemporaryPlace& operator=(const TemporaryPlace&) = delete;

    /// False when it could not be made; everything is then as before.
    [[nodiscard]] bool isValid() const { return m_folder != nullptr; }
    /// Why it is not valid: a sentence for the operator.
    [[nodiscard]] const QString& error() const { return m_error; }
    /// Of a valid one.
    [[nodiscard]] const QString& path() const { return m_folder->path(); }

private:
    /// A variable of the environment that gets its former value back.
    class Variable
    {
    public:
        explicit Variable(const char* name);
        ~Variable();
        Variable(const Variable&) = delete;
        Variable& operator=(const Variable&) = delete;
        void set(const QString& path);

    private:
        const char* m_name;
        bool m_wasSet;
        QByteArray m_before;
    };

    QString m_error;
    std::unique_ptr<Bedrock::PrivateFolder> m_folder;
    Variable m_temporary;
    Variable m_runtime;
};
}
