#include <Tactile/TuioEncoder.hpp>

#include <doctest/doctest.h>

#include <string>

using Tactile::TuioEncoder;
using Tactile::TuioProfile;

TEST_CASE("tuio encoder: an empty finger frame has exactly these bytes")
{
    TuioEncoder encoder;
    encoder.begin(TuioProfile::Cursors);
    encoder.alive({});
    const auto& packet = encoder.finish(258);
    const char expected[] = "#bundle\0\0\0\0\0\0\0\0\1"
                            "\0\0\0\x18/tuio/2Dcur\0,s\0\0alive\0\0\0"
                            "\0\0\0\x1c/tuio/2Dcur\0,si\0fseq\0\0\0\0\0\0\1\2";
    CHECK(std::string(packet.data(), packet.size()) == std::string(expected, sizeof expected - 1));
}

TEST_CASE("tuio encoder: a card's set has its ten arguments after the command, big end first")
{
    TuioEncoder encoder("v@w");
    encoder.begin(TuioProfile::Objects);
    encoder.alive({3});
    encoder.setObject(3, 1001, 0.5f, 0.25f, 1.f);
    const auto& packet = encoder.finish(1);
    const std::string text(packet.data(), packet.size());
    const char source[] = "/tuio/2Dobj\0,ss\0source\0\0v@w\0";
    CHECK(text.find(std::string(source, sizeof source - 1)) == 20);
    const char set[] = "/tuio/2Dobj\0,siiffffffff\0\0\0\0set\0\0\0\0\3\0\0\3\xe9\x3f\0\0\0\x3e\x80\0\0\x3f\x80\0\0";
    const std::size_t place = text.find(std::string(set, sizeof set - 1));
    REQUIRE(place != std::string::npos);
    CHECK(text.substr(place - 4, 4) == std::string("\0\0\0\x48", 4));
}

TEST_CASE("tuio encoder: one encoder writes one packet after the other")
{
    TuioEncoder encoder("a");
    encoder.begin(TuioProfile::Cursors);
    encoder.alive({1});
    encoder.setCursor(1, 0.1f, 0.2f);
    const auto first = encoder.finish(1);
    encoder.begin(TuioProfile::Cursors);
    encoder.alive({1});
    encoder.setCursor(1, 0.1f, 0.2f);
    CHECK(encoder.finish(1) == first);
}
