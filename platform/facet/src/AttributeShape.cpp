#include "AttributeShape.hpp"

#include <cstdlib>
#include <utility>

namespace Facet
{
namespace
{
/// Further apart than the members of a class are.
constexpr std::ptrdiff_t kFarthest = 2048;
}

const AttributeShape& AttributeShape::empty()
{
    // Never destroyed: nodes of static objects may go late.
    static const AttributeShape& shape = *new AttributeShape(nullptr, {});
    return shape;
}

const AttributeShape& AttributeShape::with(int name, std::ptrdiff_t offset) const
{
    bool mayBeNear = segments() > 0 && std::abs(offset) <= kFarthest;
    for (auto& next : m_next) {
        const Step& step = next->m_last;
        if (step.name != name)
            continue;
        if (step.segment == segments() || step.offset == offset) {
            std::swap(next, m_next.front()); // nodes of a class are often made in a row
            return *m_next.front();
        }
        mayBeNear = false; // elsewhere in another node
    }
    const Step step = mayBeNear ? Step{name, m_last.segment, offset} : Step{name, segments(), 0};
    m_next.push_back(std::make_unique<const AttributeShape>(this, step));
    return *m_next.back();
}

void AttributeShape::buildIndex() const
{
    std::size_t count = 0;
    for (const AttributeShape* shape = this; shape->m_before; shape = shape->m_before)
        ++count;
    std::size_t size = 2;
    while (size < 2 * count)
        size *= 2;
    m_index = std::make_unique<Step[]>(size);
    m_mask = size - 1;
    for (const AttributeShape* shape = this; shape->m_before; shape = shape->m_before) {
        const Step& step = shape->m_last;
        std::size_t place = std::size_t(step.name) & m_mask;
        while (m_index[place].name != kNoName && m_index[place].name != step.name)
            place = (place + 1) & m_mask;
        m_index[place] = step; // of two with one name the first one stays, which comes last here
    }
}
}
