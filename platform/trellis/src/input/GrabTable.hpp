#pragma once

#include <cstdint>
#include <vector>

namespace Trellis
{
class Widget;

/// Which widget holds which finger or marker. Widgets are in the tree as long as they stand here.
class GrabTable
{
public:
    /// Null when no widget holds the object.
    [[nodiscard]] Widget* holder(std::int64_t id) const;
    /// Gives the object to `holder`, whichever held it before.
    void set(std::int64_t id, Widget& holder);
    /// Nothing happens when no widget holds the object.
    void release(std::int64_t id);
    void releaseAllOf(const Widget& widget);

private:
    struct Grab
    {
        std::int64_t id;
        Widget* holder;
    };
    std::vector<Grab> m_grabs;
};
}
