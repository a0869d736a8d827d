#include "AttributeShape.hpp"

#include <cstdlib>
#include <utility>

namespace Facet
{
namespace
{
/// Further apart than the members of a class are.
constexpr std::ptrdiff_t kFarthest = 2048;
constexpr int kNoName = -1;
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

const AttributeShape::Step* AttributeShape::find(int name) const
{
    if (segments() == 0)
        return nullptr;
    if (m_index.empty())
        buildIndex();
    const std::size_t mask = m_index.size() - 1;
    for (std::size_t place = std::size_t(name) & mask;; place = (place + 1) & mask) {
        const Step& step = m_index[place];
        if (step.name == name)
            return &step;
        if (step.name == kNoName)
            return nullptr;
    }
}

void AttributeShape::buildIndex() const
{
    std::size_t count = 0;
    for (const AttributeShape* shape = this; shape->m_before; shape = shape->m_before)
        ++count;
    std::size_t size = 2;
    while (size < 2 * count)
        size *= 2;
    m_index.resize(size);
    for (const AttributeShape* shape = this; shape->m_before; shape = shape->m_before) {
        const Step& step = shape->m_last;
        std::size_t place = std::size_t(step.name) & (size - 1);
        while (m_index[place].name != kNoName && m_index[place].name != step.name)
            place = (place + 1) & (size - 1);
        m_index[place] = step; // of two with one name the first one stays, which comes last here
    }
}
}
