#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <vector>

namespace Facet
{
/// A sequence of attributes by name and place, shared by all nodes that have it. Attributes at fixed distances from one another,
/// such as members of one class, form a segment: a node keeps the address of its first attribute, the shape the distances.
/// Shapes form a tree, whose root is the empty sequence, and live as long as the process. Main thread only.
class AttributeShape
{
public:
    static constexpr int kNoName = -1;

    struct Step
    {
        int name = kNoName; ///< its number
        int segment = -1;
        std::ptrdiff_t offset = 0; ///< bytes from the beginning of the segment
    };

    [[nodiscard]] static const AttributeShape& empty();

    AttributeShape(const AttributeShape* before, Step last) : m_before(before), m_last(last) {}

    /// The sequence without its last attribute; null for the empty one.
    [[nodiscard]] const AttributeShape* before() const noexcept { return m_before; }
    [[nodiscard]] const Step& last() const noexcept { return m_last; }
    [[nodiscard]] int segments() const noexcept { return m_last.segment + 1; }
    /// The first step with that name, or null.
    [[nodiscard]] const Step* find(int name) const
    {
        if (!m_index)
            buildIndex();
        for (std::size_t place = std::size_t(name) & m_mask;; place = (place + 1) & m_mask) {
            const Step& step = m_index[place];
            if (step.name == name)
                return &step;
            if (step.name == kNoName)
                return nullptr;
        }
    }

    /// The sequence with one attribute more, at that distance from the beginning of the last segment. It belongs to that segment
    /// if it always is at this distance, as far as one can see, and else begins a new one.
    [[nodiscard]] const AttributeShape& with(int name, std::ptrdiff_t offset) const;

private:
    void buildIndex() const;

    const AttributeShape* m_before;
    Step m_last;
    // Filled as they are needed.
    mutable std::vector<std::unique_ptr<const AttributeShape>> m_next;
    mutable std::unique_ptr<Step[]> m_index; ///< by hash of the name; a power of two, at most half full
    mutable std::size_t m_mask = 0;          ///< its size less one
};
}
