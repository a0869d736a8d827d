#include "picture/ImageCache.hpp"

namespace Trellis
{
const ImageCache::Entry* ImageCache::find(const ImageKey& key)
{
    const auto found = m_index.find(key);
    if (found == m_index.end())
        return nullptr;
    m_uses.splice(m_uses.begin(), m_uses, found->second);
    return &found->second->second;
}

void ImageCache::insert(const ImageKey& key, Entry entry)
{
    const auto found = m_index.find(key);
    if (found != m_index.end())
        remove(found->second);
    m_bytes += entry.image.sizeInBytes();
    m_uses.emplace_front(key, std::move(entry));
    m_index[key] = m_uses.begin();
    shrink();
}

void ImageCache::clear()
{
    m_index.clear();
    m_uses.clear();
    m_bytes = 0;
}

void ImageCache::setByteLimit(qint64 bytes)
{
    m_byteLimit = bytes;
    shrink();
}

void ImageCache::remove(Uses::iterator use)
{
    m_bytes -= use->second.image.sizeInBytes();
    m_index.erase(use->first);
    m_uses.erase(use);
}

void ImageCache::shrink()
{
    while (m_bytes > m_byteLimit && !m_uses.empty())
        remove(std::prev(m_uses.end()));
}
}
