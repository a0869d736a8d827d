#include "text/KeptTextBlock.hpp"

namespace Trellis
{
KeptTextBlock::Entries& KeptTextBlock::entries()
{
    // Never destroyed: widgets of static objects may go late.
    static Entries& list = *new Entries;
    return list;
}

KeptTextBlock::~KeptTextBlock()
{
    if (m_place)
        entries().erase(*m_place);
}

TextBlock& KeptTextBlock::block()
{
    Entries& list = entries();
    if (m_place) {
        list.splice(list.begin(), list, *m_place);
    } else {
        list.emplace_front(*this);
        m_place = list.begin();
        if (list.size() > kMost) {
            list.back().owner->m_place.reset();
            list.pop_back();
        }
    }
    return list.front().block;
}
}
