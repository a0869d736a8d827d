#include <Facet/AttributeName.hpp>

#include <Facet/NameTable.hpp>

namespace Facet
{
AttributeName::AttributeName(const char* name) : m_number(NameTable::instance().number(std::string_view(name))) {}

AttributeName::AttributeName(const QByteArray& name) : m_number(NameTable::instance().number(name)) {}

const QByteArray& AttributeName::text() const
{
    return NameTable::instance().name(m_number);
}
}
