#include <Facet/EventName.hpp>

#include <deque>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>

namespace Facet
{
namespace
{
/// Owns copies of the names: a library that brought one may be unloaded.
struct NameTable
{
    std::mutex mutex;
    std::deque<std::string> names;
    std::unordered_map<std::string_view, int> slots;

    int slot(std::string_view name)
    {
        const std::lock_guard<std::mutex> guard(mutex);
        const auto found = slots.find(name);
        if (found != slots.end())
            return found->second;
        const int slot = int(names.size());
        slots.emplace(names.emplace_back(name), slot);
        return slot;
    }
};

NameTable& table()
{
    // Never destroyed: static objects may send events while the process ends.
    static NameTable& instance = *new NameTable;
    return instance;
}
}

EventName::EventName(const char* name) : m_slot(table().slot(name)) {}

EventName::EventName(const QByteArray& name) : m_slot(table().slot({name.constData(), std::size_t(name.size())})) {}

QByteArray EventName::text() const
{
    const std::lock_guard<std::mutex> guard(table().mutex);
    return QByteArray::fromStdString(table().names[std::size_t(m_slot)]);
}
}
