#include "NameTable.hpp"

namespace Cascara
{
NameTable& NameTable::instance()
{
    // Never destroyed: nodes of static objects may go late.
    static NameTable& table = *new NameTable;
    return table;
}

NameTable::NameTable()
{
    m_names.emplace_back();
    m_numbers.insert(QByteArray(), 0);
}

int NameTable::number(const QByteArray& name)
{
    const auto found = m_numbers.constFind(name);
    if (found != m_numbers.constEnd())
        return *found;
    // A deep copy: the characters of a literal go away with the library they stand in.
    const QByteArray copy(name.constData(), name.size());
    m_names.push_back(copy);
    return *m_numbers.insert(copy, int(m_names.size()) - 1);
}
}
