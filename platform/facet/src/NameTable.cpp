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

/// The words of a name that stand before its last 8 characters or fewer.
constexpr std::size_t headBytes(std::size_t size) noexcept
{
    return size <= 8 ? 0 : (size - 1) / 8 * 8;
}

/// Each step can be undone: of two names of one length and one hash the last characters are equal if those before are.
inline std::uint64_t hashOf(std::string_view name) noexcept
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
    return (hash ^ rest) * kFactor;
}
}

/// A name with what it is found by. Does not change once it is in an index.
struct NameTable::Entry
{
    std::uint64_t hash = 0;
    int size = 0;
    int number = 0;
    QByteArray name;

    [[nodiscard]] bool isNamed(std::string_view text, std::uint64_t itsHash) const noexcept
    {
        if (hash != itsHash || std::size_t(size) != text.size())
            return false;
        const char* const characters = name.constData();
        for (std::size_t at = 0, end = headBytes(text.size()); at < end; at += 8)
            if (read<std::uint64_t>(characters + at) != read<std::uint64_t>(text.data() + at))
                return false;
        return true;
    }
};

/// Entries by hash of the name: open addressing, a power of two, at most half full. They are added and never removed.
struct NameTable::Index
{
    explicit Index(std::size_t size) : mask(size - 1), slots(std::make_unique<std::atomic<const Entry*>[]>(size)) {}

    /// The upper half of the hash depends on all characters.
    [[nodiscard]] std::size_t placeOf(std::uint64_t hash) const noexcept { return std::size_t(hash >> 32) & mask; }
    void add(const Entry& entry) noexcept
    {
        std::size_t place = placeOf(entry.hash);
        while (slots[place].load(std::memory_order_relaxed))
            place = (place + 1) & mask;
        slots[place].store(&entry, std::memory_order_release);
    }

    std::size_t mask;
    std::unique_ptr<std::atomic<const Entry*>[]> slots;
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

inline const NameTable::Entry* NameTable::find(std::string_view name) const noexcept
{
    const std::uint64_t hash = hashOf(name);
    const Index& index = *m_index.load(std::memory_order_acquire);
    for (std::size_t place = index.placeOf(hash);; place = (place + 1) & index.mask) {
        const Entry* const entry = index.slots[place].load(std::memory_order_acquire);
        if (!entry || entry->isNamed(name, hash))
            return entry;
    }
}

int NameTable::number(std::string_view name)
{
    if (const Entry* const known = find(name))
        return known->number;
    const std::lock_guard<std::mutex> guard(m_mutex);
    const Entry* const enteredMeanwhile = find(name);
    return enteredMeanwhile ? enteredMeanwhile->number : add(name);
}

int NameTable::findNumber(const QByteArray& name) const noexcept
{
    const Entry* const found = find(view(name));
    return found ? found->number : 0;
}

const QByteArray& NameTable::name(int number) const noexcept
{
    const Place place = placeIn(number);
    return m_blocks[place.block].load(std::memory_order_acquire)[place.index].name;
}

NameTable::Entry& NameTable::entry(int number)
{
    const Place place = placeIn(number);
    std::atomic<Entry*>& block = m_blocks.at(place.block);
    if (!block.load(std::memory_order_relaxed))
        block.store(new Entry[place.blockSize], std::memory_order_release);
    return block.load(std::memory_order_relaxed)[place.index];
}

int NameTable::add(std::string_view name)
{
    const int number = m_count;
    Entry& added = entry(number);
    added.hash = hashOf(name);
    added.size = int(name.size());
    added.number = number;
    added.name = QByteArray(name.data(), int(name.size()));
    Index* index = m_indices.back().get();
    if (2 * std::size_t(m_count + 1) > index->mask + 1) {
        auto larger = std::make_unique<Index>(2 * (index->mask + 1));
        for (std::size_t place = 0; place <= index->mask; ++place)
            if (const Entry* const known = index->slots[place].load(std::memory_order_relaxed))
                larger->add(*known);
        index = larger.get();
        m_indices.push_back(std::move(larger));
    }
    index->add(added);
    m_index.store(index, std::memory_order_release);
    ++m_count;
    return number;
}
}
