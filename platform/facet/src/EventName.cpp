#include <Facet/EventName.hpp>

#include <Facet/NameTable.hpp>

namespace Facet
{
namespace
{
NameTable& table()
{
    // Never destroyed: static objects may send events while the process ends.
    static NameTable& instance = *new NameTable;
    return instance;
}
}

EventName::EventName(const char* name) : m_slot(table().number(std::string_view(name))) {}

EventName::EventName(const QByteArray& name) : m_slot(table().number(name)) {}

QByteArray EventName::text() const
{
    return table().name(m_slot);
}
}
