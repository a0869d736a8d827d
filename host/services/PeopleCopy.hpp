#pragma once

#include "services/PeopleFile.hpp"

#include <QString>

#include <optional>
#include <vector>

namespace Host
{
/// The people of a registry on a server as this table read them last, in a file that this user alone can read: cards open from
/// it while the server is away. Any thread, one at a time.
class PeopleCopy
{
public:
    explicit PeopleCopy(const QString& path) : m_path(path) {}

    /// Replaces the file as a whole. Failures are logged; the file stays as it was.
    void write(const std::vector<Person>& people) const;
    /// Nothing when there is none.
    [[nodiscard]] std::optional<std::vector<Person>> read() const;

private:
    QString m_path;
};
}
