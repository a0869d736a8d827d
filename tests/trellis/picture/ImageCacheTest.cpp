#include <doctest/doctest.h>

#include "picture/ImageCache.hpp"

using Trellis::ImageCache;
using Trellis::ImageKey;
using Trellis::ImageSize;

namespace
{
constexpr qint64 kPictureBytes = 10 * 10 * 4;

ImageKey key(const char* path, int edgePx = 64)
{
    return {QString::fromLatin1(path), {ImageSize::Side::Longest, edgePx}};
}
ImageCache::Entry picture()
{
    return {QImage(10, 10, QImage::Format_RGB32), QSize(10, 10), 1};
}
}

TEST_CASE("image cache: the picture whose use lies back furthest goes when the bytes are used up")
{
    ImageCache cache(3 * kPictureBytes);
    cache.insert(key("a"), picture());
    cache.insert(key("b"), picture());
    cache.insert(key("c"), picture());
    REQUIRE(cache.find(key("a")));
    cache.insert(key("d"), picture());
    CHECK(cache.find(key("a")));
    CHECK_FALSE(cache.find(key("b")));
    CHECK(cache.find(key("c")));
    CHECK(cache.find(key("d")));
    CHECK(cache.bytes() == 3 * kPictureBytes);
}

TEST_CASE("image cache: sizes of one picture are kept apart, and the same one replaces itself")
{
    ImageCache cache(10 * kPictureBytes);
    cache.insert(key("a", 64), picture());
    cache.insert(key("a", 128), picture());
    cache.insert(key("a", 128), picture());
    CHECK(cache.count() == 2);
    CHECK(cache.bytes() == 2 * kPictureBytes);
    ImageKey filling = key("a", 64);
    filling.size.side = ImageSize::Side::Shortest;
    CHECK_FALSE(cache.find(filling));
}

TEST_CASE("image cache: a picture larger than the limit is not kept, and a lower limit holds at once")
{
    ImageCache cache(kPictureBytes - 1);
    cache.insert(key("a"), picture());
    CHECK(cache.count() == 0);
    CHECK(cache.bytes() == 0);
    cache.setByteLimit(5 * kPictureBytes);
    cache.insert(key("a"), picture());
    cache.insert(key("b"), picture());
    cache.setByteLimit(kPictureBytes);
    CHECK(cache.count() == 1);
    CHECK(cache.find(key("b")));
    cache.clear();
    CHECK(cache.bytes() == 0);
}

TEST_CASE("image cache: wanted sizes come in four steps from a power of two to the next, and are not below the box")
{
    const auto edge = [](float w, float h) { return ImageSize::forBox(w, h, ImageSize::Side::Longest).edgePx; };
    CHECK(edge(1, 1) == 64);
    CHECK(edge(64, 10) == 64);
    CHECK(edge(65, 10) == 80);
    CHECK(edge(80, 10) == 80);
    CHECK(edge(113, 10) == 128);
    CHECK(edge(298, 224) == 320);
    CHECK(edge(321, 224) == 384);
    CHECK(edge(10, 1000) == 1024);
    CHECK(edge(1025, 10) == 1280);
    CHECK(edge(0, 0) == 0);
    CHECK(edge(1e9f, 1) == 32768);
}

TEST_CASE("image cache: what is being enlarged is wanted in powers of two")
{
    const auto grown = [](int edgePx) {
        const ImageSize size = ImageSize{ImageSize::Side::Shortest, edgePx}.withRoomToGrow();
        CHECK(size.side == ImageSize::Side::Shortest);
        return size.edgePx;
    };
    CHECK(grown(0) == 0);
    CHECK(grown(64) == 64);
    CHECK(grown(80) == 128);
    CHECK(grown(320) == 512);
    CHECK(grown(512) == 512);
    CHECK(grown(32768) == 32768);
}
