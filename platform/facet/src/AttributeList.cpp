#include <Facet/AttributeList.hpp>

#include "AttributeShape.hpp"

#include <Facet/Attribute.hpp>

#include <algorithm>
#include <cassert>
#include <cstdint>

namespace Facet
{
namespace
{
// The attributes of a segment need not be parts of one object, so distances are those of addresses as numbers, which C++ lets
// grow and shrink at will. The address that comes out is always one that an attribute of the list has.

std::ptrdiff_t bytesBetween(const Attribute* from, const Attribute* to) noexcept
{
    return std::ptrdiff_t(reinterpret_cast<std::uintptr_t>(to) - reinterpret_cast<std::uintptr_t>(from));
}

Attribute* atDistance(Attribute* from, std::ptrdiff_t bytes) noexcept
{
    return reinterpret_cast<Attribute*>(reinterpret_cast<std::uintptr_t>(from) + std::uintptr_t(bytes));
}
}

AttributeList::AttributeList() noexcept : m_shape(&AttributeShape::empty()) {}

AttributeList::~AttributeList()
{
    if (m_shape->segments() > 1)
        delete[] static_cast<Attribute**>(m_segments);
}

Attribute* AttributeList::begin(int segment) const noexcept
{
    return m_shape->segments() == 1 ? static_cast<Attribute*>(m_segments) : static_cast<Attribute**>(m_segments)[segment];
}

Attribute* AttributeList::last() const noexcept
{
    const AttributeShape::Step& step = m_shape->last();
    return atDistance(begin(step.segment), step.offset);
}

void AttributeList::add(Attribute& attribute)
{
    const int segments = m_shape->segments();
    const std::ptrdiff_t offset = segments == 0 ? 0 : bytesBetween(begin(segments - 1), &attribute);
    const AttributeShape& shape = m_shape->with(attribute.nameNumber(), offset);
    if (shape.segments() > segments)
        beginSegment(attribute);
    m_shape = &shape;
}

void AttributeList::beginSegment(Attribute& attribute)
{
    const int segments = m_shape->segments();
    if (segments == 0) {
        m_segments = &attribute;
    } else if (segments == 1) {
        m_segments = new Attribute* [2] { static_cast<Attribute*>(m_segments), &attribute };
    } else {
        auto* const array = static_cast<Attribute**>(m_segments);
        // The array has room for a power of two.
        if ((segments & (segments - 1)) == 0) {
            auto* const larger = new Attribute*[2 * std::size_t(segments)];
            std::copy(array, array + segments, larger);
            m_segments = larger;
            delete[] array;
        }
        static_cast<Attribute**>(m_segments)[segments] = &attribute;
    }
}

void AttributeList::removeLast()
{
    const AttributeShape& shape = *m_shape->before();
    if (shape.segments() < m_shape->segments() && m_shape->segments() <= 2) {
        auto* const array = m_shape->segments() == 2 ? static_cast<Attribute**>(m_segments) : nullptr;
        m_segments = array ? array[0] : nullptr;
        delete[] array;
    }
    m_shape = &shape;
}

void AttributeList::remove(Attribute& attribute)
{
    assert(m_shape->before() && "the attribute is not in the list");
    if (last() == &attribute) {
        removeLast();
        return;
    }
    std::vector<Attribute*> later;
    while (last() != &attribute) {
        later.push_back(last());
        removeLast();
        assert(m_shape->before() && "the attribute is not in the list");
    }
    removeLast();
    for (auto next = later.rbegin(); next != later.rend(); ++next)
        add(**next);
}

Attribute* AttributeList::find(int nameNumber) const
{
    const AttributeShape::Step* const step = m_shape->find(nameNumber);
    return step ? atDistance(begin(step->segment), step->offset) : nullptr;
}

std::vector<Attribute*> AttributeList::all() const
{
    std::vector<Attribute*> result;
    for (const AttributeShape* shape = m_shape; shape->before(); shape = shape->before())
        result.push_back(atDistance(begin(shape->last().segment), shape->last().offset));
    std::reverse(result.begin(), result.end());
    return result;
}
}
