#pragma once

#include <Http/Message.hpp>

#include <QByteArray>
#include <QSize>

#include <list>
#include <map>

namespace MediaServer
{

/// Small pictures for pages, made of the files in the content folder. A picture that would take more than kMostPixels to decode
/// is not decoded. The last ones used are kept. One thread.
class Thumbnails
{
public:
    /// Longest side: twice what a card shows, for dense screens.
    static constexpr int kSidePx = 720;
    static constexpr qint64 kMostPixels = 40'000'000;
    static constexpr qint64 kKeptBytes = 32 * 1024 * 1024;

    /// `keptBytes`: memory for those that are kept; the last one is kept in any case.
    explicit Thumbnails(qint64 keptBytes = kKeptBytes) : m_keptBytes(keptBytes) {}

    /// A JPEG, or a PNG where the picture has transparent parts, no larger than kSidePx; null when there is none to be had: the
    /// file is no picture, is too large to decode, or is as small as its thumbnail would be.
    [[nodiscard]] QByteArray of(const Http::File& file);

    /// How many pictures were decoded. For tests.
    [[nodiscard]] int made() const { return m_made; }

private:
    struct Kept
    {
        QByteArray picture; ///< null: there is none to be had
        std::list<QByteArray>::iterator turn;
    };

    [[nodiscard]] QByteArray make(const Http::File& file);

    qint64 m_keptBytes;
    std::map<QByteArray, Kept> m_kept; ///< by the identity of the file
    std::list<QByteArray> m_order;     ///< the one used last is the first
    qint64 m_bytes = 0;
    int m_made = 0;
};

}
