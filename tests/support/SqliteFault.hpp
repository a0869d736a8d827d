#pragma once

#include <QString>

namespace TestSupport
{
/// Has SQLite refuse things in a file that a program uses at the same time, until it is mended or the scope ends.
/// Fails the test when that cannot be arranged.
class SqliteFault
{
public:
    /// Every `event` ("INSERT", "UPDATE", "DELETE") on a row of `table` fails with the words "database or disk is full".
    [[nodiscard]] static SqliteFault fullDisk(const QString& path, const QString& event, const QString& table);
    /// Whatever names `table` fails with the words "no such table: TABLE".
    [[nodiscard]] static SqliteFault lostTable(const QString& path, const QString& table);
    ~SqliteFault();
    SqliteFault(const SqliteFault&) = delete;
    SqliteFault& operator=(const SqliteFault&) = delete;

    /// All is as it was before.
    void mend();
    /// Runs a statement on a file; its effect is not mended.
    static void run(const QString& path, const QString& statement);

private:
    SqliteFault(const QString& path, const QString& fault, const QString& remedy);

    QString m_path;
    QString m_remedy; ///< empty once mended
};
}
