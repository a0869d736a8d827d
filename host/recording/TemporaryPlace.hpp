#pragma once

#include <QByteArray>
#include <QString>
#include <QTemporaryDir>

namespace Host
{
/// The folder of temporary files is an empty one of its own for as long as this lives, in the whole process, so that a table
/// finds nothing of what earlier ones left there. Its files go with it.
class TemporaryPlace
{
public:
    TemporaryPlace();
    ~TemporaryPlace();
    TemporaryPlace(const TemporaryPlace&) = delete;
    TemporaryPlace& operator=(const TemporaryPlace&) = delete;

    /// False when it could not be made; everything is then as before.
    [[nodiscard]] bool isValid() const { return m_folder.isValid(); }
    [[nodiscard]] QString path() const { return m_folder.path(); }

private:
    QTemporaryDir m_folder;
    bool m_hadOther;
    QByteArray m_other;
};
}
