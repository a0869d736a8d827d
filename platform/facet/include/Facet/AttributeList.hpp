#pragma once

#include <Bedrock/Export.hpp>

#include <vector>

namespace Facet
{
class Attribute;
class AttributeShape;

/// The attributes of a node in the order they were made. Two pointers: which attributes there are, and where they are in memory
/// beside one another, is in a shape that the nodes of a class share. Does not own the attributes. Main thread only.
class TAVOLA_EXPORT AttributeList
{
public:
    AttributeList() noexcept;
    AttributeList(const AttributeList&) = delete;
    AttributeList& operator=(const AttributeList&) = delete;
    ~AttributeList();

    /// The attribute has its name, and keeps its address until it is removed.
    void add(Attribute& attribute);
    /// The attribute is in the list (asserted). Fastest for the one added last.
    void remove(Attribute& attribute);
    /// The first attribute with a name of that number, or null.
    [[nodiscard]] Attribute* find(int nameNumber) const;
    [[nodiscard]] std::vector<Attribute*> all() const;

private:
    [[nodiscard]] Attribute* begin(int segment) const noexcept;
    [[nodiscard]] Attribute* last() const noexcept;
    void beginSegment(Attribute& attribute);
    void removeLast();

    const AttributeShape* m_shape;
    /// Where the segments of the shape begin: null for none, the first attribute of a single one, an array for several.
    void* m_segments = nullptr;
};
}
