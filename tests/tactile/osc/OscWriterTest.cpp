#include <Tactile/OscWriter.hpp>

#include <doctest/doctest.h>

#include <limits>
#include <string>

using Tactile::OscWriter;

namespace
{
std::string written(const OscWriter& writer)
{
    return std::string(writer.packet().begin(), writer.packet().end());
}

template <std::size_t N>
std::string literalBytes(const char (&literal)[N])
{
    return std::string(literal, N - 1);
}
}

TEST_CASE("osc writer: a new one has written nothing")
{
    CHECK(OscWriter().packet().empty());
}

TEST_CASE("osc writer: a message alone has no size ahead of it")
{
    OscWriter writer;
    writer.beginMessage("/a", ",i");
    writer.add(258);
    writer.endMessage();
    CHECK(written(writer) == literalBytes("/a\0\0,i\0\0\0\0\1\2"));
}

TEST_CASE("osc writer: texts end with a zero and are filled up to four bytes")
{
    struct Row
    {
        const char* text;
        std::string expected;
    };
    const Row rows[] = {{"", literalBytes("\0\0\0\0")},
                        {"a", literalBytes("a\0\0\0")},
                        {"abc", literalBytes("abc\0")},
                        {"abcd", literalBytes("abcd\0\0\0\0")},
                        {"abcde", literalBytes("abcde\0\0\0")}};
    for (const Row& row : rows) {
        CAPTURE(row.text);
        OscWriter writer;
        writer.add(row.text);
        CHECK(written(writer) == row.expected);
    }
}

TEST_CASE("osc writer: numbers are written big end first, to their limits")
{
    OscWriter writer;
    writer.add(std::numeric_limits<std::int32_t>::min());
    writer.add(-1);
    writer.add(std::numeric_limits<std::int32_t>::max());
    writer.add(-1.f);
    writer.add(-0.f);
    writer.add(std::numeric_limits<float>::infinity());
    writer.add(Tactile::OscTime{0x0102030405060708u});
    CHECK(written(writer)
          == literalBytes("\x80\0\0\0\xff\xff\xff\xff\x7f\xff\xff\xff\xbf\x80\0\0\x80\0\0\0\x7f\x80\0\0"
                          "\1\2\3\4\5\6\7\x8"));
}

TEST_CASE("osc writer: type tags may be left out, which is not the same as none")
{
    OscWriter without;
    without.beginMessage("/a", "");
    without.add(1);
    without.endMessage();
    CHECK(written(without) == literalBytes("/a\0\0\0\0\0\1"));
    OscWriter none;
    none.beginMessage("/a", ",");
    none.endMessage();
    CHECK(written(none) == literalBytes("/a\0\0,\0\0\0"));
}

TEST_CASE("osc writer: each element of a bundle is led by its size, also a bundle in a bundle")
{
    OscWriter writer;
    writer.beginBundle();
    writer.beginMessage("/a", ",");
    writer.endMessage();
    writer.beginBundle();
    writer.beginMessage("/b", ",i");
    writer.add(7);
    writer.endMessage();
    writer.endBundle();
    writer.beginMessage("/c", ",");
    writer.endMessage();
    writer.endBundle();
    CHECK(written(writer)
          == literalBytes("#bundle\0\0\0\0\0\0\0\0\1"
                          "\0\0\0\x8/a\0\0,\0\0\0"
                          "\0\0\0\x20#bundle\0\0\0\0\0\0\0\0\1"
                          "\0\0\0\xc/b\0\0,i\0\0\0\0\0\7"
                          "\0\0\0\x8/c\0\0,\0\0\0"));
}

TEST_CASE("osc writer: an element of more than 255 bytes has its size whole")
{
    OscWriter writer;
    writer.beginBundle();
    writer.beginMessage("/a", "");
    for (int i = 0; i < 20000; ++i)
        writer.add(i);
    writer.endMessage();
    writer.endBundle();
    CHECK(written(writer).substr(16, 4) == literalBytes("\0\1\x38\x84")); // 80,004
    CHECK(writer.packet().size() == 16 + 4 + 80004);
}

TEST_CASE("osc writer: cleared it begins another packet, also in the midst of one")
{
    OscWriter writer;
    writer.beginBundle();
    writer.beginMessage("/long/address", ",s");
    writer.add("left open");
    writer.clear();
    CHECK(writer.packet().empty());
    writer.beginMessage("/a", ",");
    writer.endMessage();
    CHECK(written(writer) == literalBytes("/a\0\0,\0\0\0"));
}
