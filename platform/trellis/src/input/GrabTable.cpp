#include "input/GrabTable.hpp"

#include <algorithm>

namespace Trellis
{
Widget* GrabTable::holder(std::int64_t id) const
{
    for (const Grab& grab : m_grabs)
        if (grab.id == id)
            return grab.holder;
    return nullptr;
}

void GrabTable::set(std::int64_t id, Widget& holder)
{
    for (Grab& grab : m_grabs) {
        if (grab.id == id) {
            grab.holder = &holder;
            return;
        }
    }
    m_grabs.push_back({id, &holder});
}

void GrabTable::release(std::int64_t id)
{
    m_grabs.erase(std::remove_if(m_grabs.begin(), m_grabs.end(), [id](const Grab& grab) { return grab.id == id; }),
                  m_grabs.end());
}

void GrabTable::releaseAllOf(const Widget& widget)
{
    m_grabs.erase(std::remove_if(m_grabs.begin(), m_grabs.end(), [&widget](const Grab& grab) { return grab.holder == &widget; }),
                  m_grabs.end());
}
}
