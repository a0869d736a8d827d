#include "services/PeopleCopy.hpp"

#include "Folder.hpp"

#include <LogCapture.hpp>

#include <doctest/doctest.h>

using namespace Host;

namespace
{
const std::vector<Person> kPeople = {{1001, QStringLiteral("Ann"), QStringLiteral("ann at home"), QStringLiteral("key"), 0},
                                     {18446744073709551615ul, QStringLiteral("Bo, \"Bo\""), {}, {}, 3}};
}

TEST_CASE("people copy: it has the people that were written last, and its user alone may read it")
{
    const Folder folder;
    const PeopleCopy copy(folder.path(QStringLiteral("copy.csv")));
    CHECK_FALSE(copy.read());
    copy.write({kPeople[1]});
    copy.write(kPeople);
    CHECK(copy.read() == kPeople);
    const auto forOthers = QFileDevice::ReadGroup | QFileDevice::WriteGroup | QFileDevice::ReadOther | QFileDevice::WriteOther;
    CHECK((QFile::permissions(folder.path(QStringLiteral("copy.csv"))) & forOthers) == 0);
    copy.write({});
    CHECK(copy.read() == std::vector<Person>{});
}

TEST_CASE("people copy: what cannot be written or read is reported")
{
    const Folder folder;
    const QString path = folder.path(QStringLiteral("no such folder/copy.csv"));
    TestSupport::expectWarningStartingWith("PeopleCopy # Failed to write " + path.toStdString() + " (");
    PeopleCopy(path).write(kPeople);
    TestSupport::expectWarningStartingWith("PeopleCopy # Failed to read " + folder.path().toStdString() + " (");
    CHECK_FALSE(PeopleCopy(folder.path()).read());
}
