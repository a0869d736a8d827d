#pragma once

#include "picture/ImageReading.hpp"

#include <list>
#include <unordered_map>

namespace Trellis
{
/// Which picture at which size.
struct ImageKey
{
    QString path;
    ImageSize size;
    friend bool operator==(const ImageKey& a, const ImageKey& b) { return a.size == b.size && a.path == b.path; }
};

struct ImageKeyHash
{
    std::size_t operator()(const ImageKey& key) const noexcept
    {
        return qHash(key.path) ^ (std::size_t(key.size.edgePx) * 2u + std::size_t(key.size.side)) * 2654435761u;
    }
};

/// The pictures that were used last, up to a number of bytes; the one whose use lies back furthest goes first. A picture that
/// a widget shows lives on with the widget. Main thread only.
class ImageCache
{
public:
    struct Entry
    {
        QImage image;
        QSize fullSize;
        qint64 modifiedMs = 0; ///< the file's time when it was read
    };

    explicit ImageCache(qint64 byteLimit) : m_byteLimit(byteLimit) {}

    /// Null when there is none; valid until the next change of the cache. Counts as a use.
    [[nodiscard]] const Entry* find(const ImageKey& key);
    void insert(const ImageKey& key, Entry entry);
    void clear();
    void setByteLimit(qint64 bytes);
    [[nodiscard]] qint64 bytes() const noexcept { return m_bytes; }
    [[nodiscard]] int count() const noexcept { return int(m_index.size()); }

private:
    using Uses = std::list<std::pair<ImageKey, Entry>>;
    void remove(Uses::iterator use);
    void shrink();

    qint64 m_byteLimit;
    qint64 m_bytes = 0;
    Uses m_uses; ///< the last use first
    std::unordered_map<ImageKey, Uses::iterator, ImageKeyHash> m_index;
};
}
