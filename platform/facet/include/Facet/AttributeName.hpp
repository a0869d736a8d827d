#pragma once

#include <Bedrock/Export.hpp>

#include <QByteArray>

namespace Facet
{
/// The name of an attribute, interned: equal names have equal numbers. Making one from text looks it up in a table; code
/// that makes many attributes of a name keeps it in a static constant. Any thread.
class TAVOLA_EXPORT AttributeName
{
public:
    AttributeName(const char* name);
    AttributeName(const QByteArray& name);

    /// In NameTable::instance().
    [[nodiscard]] int number() const noexcept { return m_number; }
    [[nodiscard]] const QByteArray& text() const;

    friend bool operator==(AttributeName a, AttributeName b) noexcept { return a.m_number == b.m_number; }
    friend bool operator!=(AttributeName a, AttributeName b) noexcept { return a.m_number != b.m_number; }

private:
    int m_number;
};
}
