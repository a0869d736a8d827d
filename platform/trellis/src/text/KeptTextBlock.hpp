#pragma once

#include "text/TextBlock.hpp"

#include <cstddef>
#include <list>
#include <optional>

namespace Trellis
{
/// The lines of a text, which take as much memory as its widget: made when they are needed, and kept for the texts that needed
/// theirs last. Most texts of a table show in pictures that are kept. Main thread only.
class KeptTextBlock
{
public:
    /// Lines of so many texts are kept at a time.
    static constexpr std::size_t kMost = 256;

    KeptTextBlock() = default;
    KeptTextBlock(const KeptTextBlock&) = delete;
    KeptTextBlock& operator=(const KeptTextBlock&) = delete;
    ~KeptTextBlock();

    /// Valid until that of another text is asked for.
    [[nodiscard]] TextBlock& block();
    [[nodiscard]] bool isKept() const noexcept { return m_place.has_value(); }

private:
    struct Entry
    {
        explicit Entry(KeptTextBlock& user) : owner(&user) {}
        KeptTextBlock* owner;
        TextBlock block;
    };
    using Entries = std::list<Entry>;
    /// The one needed last is the first.
    [[nodiscard]] static Entries& entries();

    std::optional<Entries::iterator> m_place;
};
}
