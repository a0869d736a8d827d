#pragma once

#include <QByteArray>
#include <QHash>

#include <vector>

namespace Cascara
{
/// Names of types, ids, classes, pseudo-classes and attributes as numbers, so that matching compares no text.
/// Number 0 is the empty name. Numbers are never given up.
class NameTable
{
public:
    [[nodiscard]] static NameTable& instance();

    [[nodiscard]] int number(const QByteArray& name);
    /// As above, but 0 for a name that nobody used yet.
    [[nodiscard]] int findNumber(const QByteArray& name) const { return m_numbers.value(name, 0); }
    [[nodiscard]] const QByteArray& name(int number) const { return m_names[std::size_t(number)]; }

private:
    NameTable();

    QHash<QByteArray, int> m_numbers;
    std::vector<QByteArray> m_names;
};
}
