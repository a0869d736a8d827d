#include <Facet/NameTable.hpp>

namespace Facet
{
NameTable& NameTable::instance()
{
    // Never destroyed: attributes and nodes of static objects are destroyed late.
    static NameTable& table = *new NameTable;
    return table;
}

NameTable::NameTable()
{
    (void)number(std::string_view());
}

NameTable::~NameTable() = default;

int NameTable::number(std::string_view name)
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    const auto found = m_numbers.find(name);
    if (found != m_numbers.end())
        return found->second;
    const int number = int(m_names.size());
    const QByteArray& copy = m_names.emplace_back(name.data(), int(name.size()));
    m_numbers.emplace(view(copy), number);
    return number;
}

int NameTable::findNumber(const QByteArray& name) const
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    const auto found = m_numbers.find(view(name));
    return found == m_numbers.end() ? 0 : found->second;
}

const QByteArray& NameTable::name(int number) const
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    return m_names[std::size_t(number)];
}
}
