#include <Facet/NameTable.hpp>

#include <cstring>
#include <utility>

namespace Facet
{
namespace
{
constexpr unsigned kFirstBlockBits = 6; // 64 names
constexpr std::size_t kFirstIndex = 256;

struct Place
{
    std::size_t block;
    std::size_t index;
    std::size_t blockSize;
};

/// Where the name of that number is.
Place placeIn(int number) noexcept
{
    const auto place = std::size_t(number);
    constexpr std::size_t kFirst = std::size_t(1) << kFirstBlockBits;
    if (place < kFirst)
        return {0, place, kFirst};
    const unsigned topBit = 63u - unsigned(__builtin_clzll(place));
    const std::size_t begin = std::size_t(1) << topBit;
    return {topBit - kFirstBlockBits + 1, place - begin, begin};
}

template <class Word>
std::uint64_t read(const char* from) noexcept
{
    Word word;
    std::memcpy(&word, from, sizeof word);
    return word;
}

/// Names are short: this costs less than a call of memcmp.
inline bool isSame(std::string_view a, std::string_view b) noexcept
{
    const std::size_t size = a.size();
    if (b.size() != size)
        return false;
    const char* const x = a.data();
    const char* const y = b.data();
    if (size < 4)
        return size == 0 || (x[0] == y[0] && x[size / 2] == y[size / 2] && x[size - 1] == y[size - 1]);
    if (size < 8)
        return read<std::uint32_t>(x) == read<std::uint32_t>(y)
            && read<std::uint32_t>(x + size - 4) == read<std::uint32_t>(y + size - 4);
    for (std::size_t at = 0; at < size - 8; at += 8)
        if (read<std::uint64_t>(x + at) != read<std::uint64_t>(y + at))
            return false;
    return read<std::uint64_t>(x + size - 8) == read<std::uint64_t>(y + size - 8);
}

inline std::uint32_t hashOf(std::string_view name) noexcept
{
    constexpr std::uint64_t kFactor = 0x9E3779B97F4A7C15ull;
    const char* at = name.data();
    std::size_t left = name.size();
    std::uint64_t hash = left;
    for (; left > 8; left -= 8, at += 8) {
        hash = (hash ^ read<std::uint64_t>(at)) * kFactor;
        hash ^= hash >> 32;
    }
    std::uint64_t rest = 0;
    if (left >= 4)
        rest = read<std::uint32_t>(at) | read<std::uint32_t>(at + left - 4) << 32;
    else if (left > 0)
        rest = read<std::uint8_t>(at) | read<std::uint8_t>(at + left / 2) << 8 | read<std::uint8_t>(at + left - 1) << 16;
    hash = (hash ^ rest) * kFactor;
    return std::uint32_t(hash >> 32);
}
}

/// Numbers by hash of the name: open addressing, a power of two, at most half full. Entries are added and never change.
struct NameTable::Index
{
    explicit Index(std::size_t size) : mask(size - 1), slots(std::make_unique<std::atomic<std::uint64_t>[]>(size)) {}

    /// Hash above, number plus one below; 0 is free.
    [[nodiscard]] static std::uint64_t slotOf(int number, std::uint32_t hash) noexcept
    {
        return std::uint64_t(hash) << 32 | (std::uint32_t(number) + 1);
    }
    void add(std::uint64_t slot) noexcept
    {
        std::size_t place = std::size_t(slot >> 32) & mask;
        while (slots[place].load(std::memory_order_relaxed) != 0)
            place = (place + 1) & mask;
        slots[place].store(slot, std::memory_order_release);
    }

    std::size_t mask;
    std::unique_ptr<std::atomic<std::uint64_t>[]> slots;
};

NameTable& NameTable::instance()
{
    // Never destroyed: attributes and nodes of static objects are destroyed late.
    static NameTable& table = *new NameTable;
    return table;
}

NameTable::NameTable()
{
    m_indices.push_back(std::make_unique<Index>(kFirstIndex));
    m_index.store(m_indices.back().get(), std::memory_order_release);
    (void)number(std::string_view());
}

NameTable::~NameTable()
{
    for (const auto& block : m_blocks)
        delete[] block.load();
}

int NameTable::find(std::string_view name) const noexcept
{
    const std::uint32_t hash = hashOf(name);
    const Index& index = *m_index.load(std::memory_order_acquire);
    for (std::size_t place = hash & index.mask;; place = (place + 1) & index.mask) {
        const std::uint64_t slot = index.slots[place].load(std::memory_order_acquire);
        if (slot == 0)
            return kNone;
        if (std::uint32_t(slot >> 32) != hash)
            continue;
        const int number = int(std::uint32_t(slot) - 1);
        if (isSame(view(this->name(number)), name))
            return number;
    }
}

int NameTable::number(std::string_view name)
{
    const int known = find(name);
    if (known != kNone)
        return known;
    const std::lock_guard<std::mutex> guard(m_mutex);
    const int enteredMeanwhile = find(name);
    return enteredMeanwhile != kNone ? enteredMeanwhile : add(name);
}

int NameTable::findNumber(const QByteArray& name) const noexcept
{
    const int number = find(view(name));
    return number == kNone ? 0 : number;
}

const QByteArray& NameTable::name(int number) const noexcept
{
    const Place place = placeIn(number);
    return m_blocks[place.block].load(std::memory_order_acquire)[place.index];
}

QByteArray& NameTable::placeOf(int number)
{
    const Place place = placeIn(number);
    std::atomic<QByteArray*>& block = m_blocks.at(place.block);
    if (!block.load(std::memory_order_relaxed))
        block.store(new QByteArray[place.blockSize], std::memory_order_release);
    return block.load(std::memory_order_relaxed)[place.index];
}

int NameTable::add(std::string_view name)
{
    const int number = m_count;
    placeOf(number) = QByteArray(name.data(), int(name.size()));
    Index* index = m_indices.back().get();
    if (2 * std::size_t(m_count + 1) > index->mask + 1) {
        auto larger = std::make_unique<Index>(2 * (index->mask + 1));
        for (std::size_t place = 0; place <= index->mask; ++place)
            if (const std::uint64_t slot = index->slots[place].load(std::memory_order_relaxed))
                larger->add(slot);
        index = larger.get();
        m_indices.push_back(std::move(larger));
    }
    index->add(Index::slotOf(number, hashOf(name)));
    m_index.store(index, std::memory_order_release);
    ++m_count;
    return number;
}
}
