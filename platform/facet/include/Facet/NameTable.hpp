#pragma once

#include <Bedrock/Export.hpp>

#include <QByteArray>

#include <deque>
#include <mutex>
#include <string_view>
#include <unordered_map>

namespace Facet
{
/// Numbers for names, so that comparing compares no text. Equal names have the same number, for the life of the process:
/// a name is copied, because the library that brought it may be unloaded, and is never given up. Any thread.
class TAVOLA_EXPORT NameTable
{
public:
    /// The table of attributes and of what style sheets name (types, ids, classes, pseudo-classes). Never destroyed.
    [[nodiscard]] static NameTable& instance();

    /// Number 0 is the empty name.
    NameTable();
    NameTable(const NameTable&) = delete;
    NameTable& operator=(const NameTable&) = delete;
    ~NameTable();

    /// The number of the name, which is entered if it is new.
    [[nodiscard]] int number(std::string_view name);
    [[nodiscard]] int number(const QByteArray& name) { return number(view(name)); }
    /// As above, but 0 for a name that is not in the table.
    [[nodiscard]] int findNumber(const QByteArray& name) const;
    /// The name of a number that this table gave.
    [[nodiscard]] const QByteArray& name(int number) const;

private:
    [[nodiscard]] static std::string_view view(const QByteArray& name)
    {
        return {name.constData(), static_cast<std::size_t>(name.size())};
    }

    mutable std::mutex m_mutex;
    std::deque<QByteArray> m_names; ///< keep their address
    std::unordered_map<std::string_view, int> m_numbers;
};
}
