#include "services/PeopleCopy.hpp"

#include <Bedrock/BoundedFile.hpp>
#include <Bedrock/Trace.hpp>

#include <QFile>
#include <QSaveFile>

namespace Host
{
namespace
{
/// Of a million people.
constexpr int kLargestCopyMiB = 256;
}

void PeopleCopy::write(const std::vector<Person>& people) const
{
    QSaveFile file(m_path);
    const bool isWritten = file.open(QIODevice::WriteOnly)
        && file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner)
        && file.write(PeopleFile::format(people).toUtf8()) >= 0 && file.commit();
    if (!isWritten)
        Bedrock::Trace::warning("PeopleCopy # Failed to write %s (%s); make room on the disk, and let this user write there",
                                m_path.toUtf8().constData(), file.errorString().toUtf8().constData());
}

std::optional<std::vector<Person>> PeopleCopy::read() const
{
    if (!QFile::exists(m_path))
        return std::nullopt;
    QString error;
    const auto bytes = Bedrock::readBoundedFile(m_path, kLargestCopyMiB, error);
    if (!bytes) {
        Bedrock::Trace::warning("PeopleCopy # Failed to read %s (%s); no card opens until the server is back",
                                m_path.toUtf8().constData(), error.toUtf8().constData());
        return std::nullopt;
    }
    bool isComplete = false;
    return PeopleFile::parse(QString::fromUtf8(*bytes), m_path, isComplete);
}
}
