#pragma once

#include "care/KeyboardSearch.hpp"
#include "care/OpenOutline.hpp"

#include <Bedrock/IntrusiveWeakPtr.hpp>

#include <functional>
#include <optional>
#include <vector>

namespace Trellis
{
class Widget;
}

namespace Host
{
/// The places of the keyboards that are open, beside what they type into (KeyboardSearch says where). The cards, other people's
/// widgets and their keyboards that are kept free are those of the moment in which a keyboard opens: one that visitors type on
/// does not jump because of others. Main thread only.
class KeyboardPlaces
{
public:
    /// The outlines that a keyboard in `carrier` should not cover, on the table.
    using Neighbours = std::function<std::vector<PlaceSearch::Outline>(const Trellis::Widget& carrier)>;
    explicit KeyboardPlaces(Neighbours neighbours) : m_neighbours(std::move(neighbours)) {}

    /// The top left corner on the table of a keyboard in `carrier`. Its place is remembered as long as it exists.
    [[nodiscard]] Vecta::Vector2f place(Trellis::Widget& keyboard, const Trellis::Widget& carrier,
                                        const Tavola::KeyboardRequest& request);
    /// Appends the keyboards that are open and do not fade away.
    void appendTo(std::vector<OpenOutline>& open) const;

private:
    struct Open
    {
        Bedrock::IntrusiveWeakPtr<Trellis::Widget> keyboard;
        const Trellis::Widget* carrier; ///< for comparisons only
        std::vector<PlaceSearch::Outline> neighbours;
        std::optional<KeyboardSearch::Side> side;
        PlaceSearch::Outline outline{}; ///< its own
    };
    Open& openOf(Trellis::Widget& keyboard, const Trellis::Widget& carrier);

    Neighbours m_neighbours;
    std::vector<Open> m_open;
};
}
