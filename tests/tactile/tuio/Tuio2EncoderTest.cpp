#include <Tactile/Tuio2Encoder.hpp>

#include <doctest/doctest.h>

#include <string>

using Tactile::Tuio2Encoder;

namespace
{
std::string text(const std::vector<char>& packet)
{
    return std::string(packet.begin(), packet.end());
}

template <std::size_t N>
std::string bytes(const char (&literal)[N])
{
    return std::string(literal, N - 1);
}

const std::string kHalf = bytes("\x3f\0\0\0");
const std::string kQuarter = bytes("\x3e\x80\0\0");
const std::string kOne = bytes("\x3f\x80\0\0");
const std::string kZero = bytes("\0\0\0\0");
}

TEST_CASE("tuio 2 encoder: a frame with a token has exactly these bytes")
{
    Tuio2Encoder encoder("a", 2, 3);
    encoder.begin(7, 0x0000000100000002u);
    encoder.token(5, 9, 1.f, 0.f, 0.f, 4);
    const auto& packet = encoder.finish({5});
    const std::string expected("#bundle\0\0\0\0\0\0\0\0\1"
                               "\0\0\0\x28/tuio2/frm\0\0,itis\0\0\0\0\0\0\7\0\0\0\1\0\0\0\2\0\2\0\3a\0\0\0"
                               "\0\0\0\x2c/tuio2/tok\0\0,iiifff\0\0\0\0\5\0\0\0\4\0\0\0\x9\x3f\x80\0\0\0\0\0\0\0\0\0\0"
                               "\0\0\0\x14/tuio2/alv\0\0,i\0\0\0\0\0\5",
                               16 + 4 + 40 + 4 + 44 + 4 + 20);
    CHECK(std::string(packet.begin(), packet.end()) == expected);
}

TEST_CASE("tuio 2 encoder: a pointer presses, without a turn, a lean and a size")
{
    Tuio2Encoder encoder;
    encoder.begin(1);
    encoder.pointer(6, 0.5f, 0.25f);
    CHECK(text(encoder.finish({6}))
              .find(bytes("\0\0\0\x3c/tuio2/ptr\0\0,iiiffffff\0\0\0\0\0\6\0\0\0\0\0\0\0\0") + kHalf + kQuarter + kZero + kZero
                    + kZero + kOne)
          != std::string::npos);
}

TEST_CASE("tuio 2 encoder: an area says how large it is, in each direction and as a whole")
{
    Tuio2Encoder encoder;
    encoder.begin(1);
    encoder.area(6, 0.5f, 0.25f, 1.f, 0.5f, 0.5f);
    CHECK(
        text(encoder.finish({6}))
            .find(bytes("\0\0\0\x34/tuio2/bnd\0\0,iffffff\0\0\0\0\0\0\0\6") + kHalf + kQuarter + kOne + kHalf + kHalf + kQuarter)
        != std::string::npos);
}

TEST_CASE("tuio 2 encoder: a symbol has its group and its data as texts")
{
    Tuio2Encoder encoder;
    encoder.begin(1);
    encoder.symbol(6, 258, "fid", "data");
    CHECK(text(encoder.finish({6})).find(bytes("\0\0\0\x2c/tuio2/sym\0\0,iiiss\0\0\0\0\0\6\0\0\0\0\0\0\1\2fid\0data\0\0\0\0"))
          != std::string::npos);
}

TEST_CASE("tuio 2 encoder: a frame with nothing in it, of a sender without name and size, has exactly these bytes")
{
    Tuio2Encoder encoder;
    encoder.begin(-1);
    CHECK(text(encoder.finish({}))
          == bytes("#bundle\0\0\0\0\0\0\0\0\1"
                   "\0\0\0\x28/tuio2/frm\0\0,itis\0\0\0\xff\xff\xff\xff\0\0\0\0\0\0\0\1\0\0\0\0\0\0\0\0"
                   "\0\0\0\x10/tuio2/alv\0\0,\0\0\0"));
}

TEST_CASE("tuio 2 encoder: one encoder writes one packet after the other")
{
    Tuio2Encoder encoder("cam@left", 65535, 65535);
    const auto write = [&] {
        encoder.begin(1, Tuio2Encoder::timeTag(2.5));
        encoder.token(5, 1001, 0.5f, 0.5f, 0.f);
        return encoder.finish({5, 6, 7});
    };
    const auto first = write();
    CHECK(write() == first);
    CHECK(text(first).find(bytes("\xff\xff\xff\xff") + "cam@left") != std::string::npos);
}

TEST_CASE("tuio 2 encoder: a time tag has its seconds above its fraction")
{
    CHECK(Tuio2Encoder::timeTag(0.0) == 0);
    CHECK(Tuio2Encoder::timeTag(1.0) == 1ull << 32);
    CHECK(Tuio2Encoder::timeTag(2.5) == (2ull << 32 | 1ull << 31));
    CHECK((Tuio2Encoder::timeTag(4e9) >> 32) == 4000000000ull);
}
