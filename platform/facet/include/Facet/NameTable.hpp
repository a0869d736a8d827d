#pragma once

#include <Bedrock/Export.hpp>

#include <QByteArray>

#include <array>
#include <atomic>
#include <memory>
#include <mutex>
#include <string_view>
#include <vector>

namespace Facet
{
/// Numbers for names, so that comparing compares no text. Equal names have the same number, for the life of the process:
/// a name is copied, because the library that brought it may be unloaded, and is never given up. Any thread; only entering a
/// new name locks.
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
    [[nodiscard]] int findNumber(const QByteArray& name) const noexcept;
    /// The name of a number that this table gave.
    [[nodiscard]] const QByteArray& name(int number) const noexcept;

private:
    struct Entry;
    struct Index;
    static constexpr std::size_t kBlocks = 24;

    [[nodiscard]] static std::string_view view(const QByteArray& name)
    {
        return {name.constData(), static_cast<std::size_t>(name.size())};
    }
    /// Null for a name that is not in the table.
    [[nodiscard]] const Entry* find(std::string_view name) const noexcept;
    int add(std::string_view name);
    [[nodiscard]] Entry& entry(int number);

    /// The names by number, in blocks of which each is as large as all before it: a name keeps its address.
    std::array<std::atomic<Entry*>, kBlocks> m_blocks{};
    std::atomic<const Index*> m_index{nullptr};
    std::mutex m_mutex; ///< of what follows, and of every change
    int m_count = 0;
    std::vector<std::unique_ptr<Index>> m_indices; ///< the last one is in use; a thread may still be reading those before it
};
}
