#pragma once

#include <QString>

#include <map>
#include <vector>

namespace CascaraTest
{
/// Compares what passes of a suite with two frozen lists in the folder TAVOLA_CONFORMANCE_LISTS: `NAME.passes` has the name of
/// each test that passes, one a line, `NAME.skips` those that do not apply here, each with a reason: `name: reason`.
class ConformanceList
{
public:
    /// Reads both lists.
    explicit ConformanceList(const QString& name);

    /// `difference` says what was expected and what came; empty for a test that passes.
    void add(const QString& test, const QString& difference);
    /// Fails for each test that is in the wrong list or in none, and for each entry without a test. Writes "n of m that apply".
    void check() const;

private:
    QString m_name;
    std::vector<QString> m_passes;
    std::map<QString, QString> m_skips; ///< with their reasons
    std::map<QString, QString> m_tests; ///< with their differences
};
}
