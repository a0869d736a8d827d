#include <Tactile/OscDecoder.hpp>
#include <Tactile/OscWriter.hpp>

#include <doctest/doctest.h>

#include <string>
#include <vector>

using Tactile::OscRefusal;

namespace
{
struct Collected final : Tactile::OscMessageSink
{
    std::vector<std::string> addresses;
    std::vector<std::string> tags;
    Tactile::OscMessage last;

    OscRefusal message(const Tactile::OscMessage& m) override
    {
        addresses.emplace_back(m.address);
        tags.emplace_back(m.hasTypeTags ? std::string(m.typeTags) : std::string("none"));
        last = m;
        return OscRefusal::None;
    }
};

OscRefusal decode(const std::string& bytes)
{
    Collected sink;
    Tactile::OscDecoder decoder;
    return decoder.decode(bytes.data(), bytes.size(), sink);
}

template <std::size_t N>
std::string bytes(const char (&text)[N])
{
    return std::string(text, N - 1);
}

std::vector<char> nested(int depth)
{
    Tactile::OscWriter writer;
    for (int i = 0; i < depth; ++i)
        writer.beginBundle();
    writer.beginMessage("/a", ",i");
    writer.add(1);
    writer.endMessage();
    for (int i = 0; i < depth; ++i)
        writer.endBundle();
    return writer.packet();
}
}

TEST_CASE("osc decoder: a malformed packet is refused with its cause")
{
    const std::string bundle = bytes("#bundle\0\0\0\0\0\0\0\0\1");
    struct Row
    {
        const char* what;
        std::string packet;
        OscRefusal refusal;
    };
    const Row rows[] = {
        {"no byte", "", OscRefusal::Empty},
        {"three bytes", "/a\0", OscRefusal::NotMultipleOfFour},
        {"65,536 bytes", std::string(65536, '\0'), OscRefusal::TooLarge},
        {"an address without an end", "/abc", OscRefusal::UnterminatedString},
        {"zeros only", bytes("\0\0\0\0"), OscRefusal::NoAddress},
        {"an address without a slash", bytes("abc\0"), OscRefusal::NoAddress},
        {"type tags without an end", bytes("/a\0\0,iii"), OscRefusal::UnterminatedString},
        {"a bundle without its time", bytes("#bundle\0\0\0\0\0"), OscRefusal::ElementSize},
        {"an element beyond the packet", bundle + bytes("\0\0\0\x08/a\0\0"), OscRefusal::ElementSize},
        {"an element of size 0", bundle + bytes("\0\0\0\0"), OscRefusal::ElementSize},
        {"an element of negative size", bundle + bytes("\xff\xff\xff\xfc/a\0\0"), OscRefusal::ElementSize},
        {"an element of 5 bytes", bundle + bytes("\0\0\0\x05/a\0\0\0\0\0\0"), OscRefusal::ElementSize},
        {"a good element, then a bad one", bundle + bytes("\0\0\0\x04/a\0\0\0\0\0\x10"), OscRefusal::ElementSize},
    };
    for (const Row& row : rows) {
        CAPTURE(row.what);
        CHECK(decode(row.packet) == row.refusal);
    }
}

TEST_CASE("osc decoder: an empty bundle is a good packet without messages")
{
    CHECK(decode(bytes("#bundle\0\0\0\0\0\0\0\0\1")) == OscRefusal::None);
}

TEST_CASE("osc decoder: bundles nest four deep and no deeper")
{
    for (int depth = 0; depth <= 6; ++depth) {
        CAPTURE(depth);
        const auto packet = nested(depth);
        Collected sink;
        Tactile::OscDecoder decoder;
        const OscRefusal refusal = decoder.decode(packet.data(), packet.size(), sink);
        CHECK(refusal == (depth <= 4 ? OscRefusal::None : OscRefusal::NestingTooDeep));
        CHECK(sink.addresses.size() == (depth <= 4 ? 1u : 0u));
    }
}

TEST_CASE("osc decoder: messages come in their order, with and without type tags")
{
    Tactile::OscWriter writer;
    writer.beginBundle();
    writer.beginMessage("/first", ",i");
    writer.add(1);
    writer.endMessage();
    writer.beginBundle();
    writer.beginMessage("/second", "");
    writer.add(2);
    writer.endMessage();
    writer.endBundle();
    writer.beginMessage("/third", ",");
    writer.endMessage();
    writer.endBundle();
    Collected sink;
    Tactile::OscDecoder decoder;
    REQUIRE(decoder.decode(writer.packet().data(), writer.packet().size(), sink) == OscRefusal::None);
    CHECK(sink.addresses == std::vector<std::string>{"/first", "/second", "/third"});
    CHECK(sink.tags == std::vector<std::string>{"i", "none", ""});
}

TEST_CASE("osc decoder: arguments are read as their type tags say, and what does not fit is left where it is")
{
    Tactile::OscWriter writer;
    writer.beginMessage("/m", ",sif");
    writer.add("abcd");
    writer.add(-7);
    writer.add(0.25f);
    writer.endMessage();
    Collected sink;
    Tactile::OscDecoder decoder;
    REQUIRE(decoder.decode(writer.packet().data(), writer.packet().size(), sink) == OscRefusal::None);

    Tactile::OscArgumentReader reader(sink.last);
    std::int32_t whole = 0;
    float real = 0.f;
    std::string_view text;
    CHECK_FALSE(reader.readInt(whole));
    CHECK(reader.refusal() == OscRefusal::ArgumentMismatch);
    CHECK(reader.readString(text));
    CHECK(text == "abcd");
    CHECK_FALSE(reader.atEnd());
    CHECK_FALSE(reader.readFloat(real));
    CHECK(reader.readInt(whole));
    CHECK(whole == -7);
    CHECK(reader.readFloat(real));
    CHECK(real == 0.25f);
    CHECK(reader.atEnd());
    CHECK_FALSE(reader.readInt(whole));
}

TEST_CASE("osc decoder: floats are skipped all together or not at all")
{
    struct Row
    {
        const char* what;
        const char* tags; ///< of which the first `named` are the message's
        std::size_t named;
        int floats; ///< whose bytes are there
        std::size_t skipped;
        bool fits;
    };
    const Row rows[] = {
        {"as many as there are", ",fff", 3, 3, 3, true},
        {"fewer than there are", ",fff", 3, 3, 2, true},
        {"more than there are", ",fff", 3, 3, 4, false},
        {"more than tags name", ",fff", 2, 3, 3, false},
        {"more than bytes follow", ",fff", 3, 2, 3, false},
        {"another type among them", ",fif", 3, 3, 3, false},
        {"another type first", ",iff", 3, 3, 3, false},
        {"another type last", ",ffi", 3, 3, 3, false},
        {"without tags", "", 0, 3, 3, true},
    };
    for (const Row& row : rows) {
        CAPTURE(row.what);
        const std::vector<char> bytes(std::size_t(row.floats) * 4);
        const std::string_view tags(row.tags);
        const Tactile::OscMessage message{"/m", tags.empty() ? tags : tags.substr(1, row.named), !tags.empty(), bytes.data(),
                                          bytes.data() + bytes.size()};
        Tactile::OscArgumentReader reader(message);
        CHECK(reader.skipFloats(row.skipped) == row.fits);
        if (row.fits) {
            CHECK(reader.atEnd() == (row.skipped == std::size_t(row.floats)));
        } else {
            CHECK(reader.refusal() == OscRefusal::ArgumentMismatch);
            CHECK_FALSE(reader.atEnd());
            CHECK(reader.skipFloats(0));
        }
    }
}

TEST_CASE("osc decoder: bytes that no type tag names, and tags that no bytes follow, are not the end")
{
    Tactile::OscWriter writer;
    std::int32_t value = 0;
    Collected sink;
    Tactile::OscDecoder decoder;

    writer.beginMessage("/m", ",i");
    writer.add(1);
    writer.add(2);
    writer.endMessage();
    REQUIRE(decoder.decode(writer.packet().data(), writer.packet().size(), sink) == OscRefusal::None);
    Tactile::OscArgumentReader tooManyBytes(sink.last);
    CHECK(tooManyBytes.readInt(value));
    CHECK_FALSE(tooManyBytes.atEnd());

    writer.clear();
    writer.beginMessage("/m", ",ii");
    writer.add(1);
    writer.endMessage();
    REQUIRE(decoder.decode(writer.packet().data(), writer.packet().size(), sink) == OscRefusal::None);
    Tactile::OscArgumentReader tooManyTags(sink.last);
    CHECK(tooManyTags.readInt(value));
    CHECK_FALSE(tooManyTags.readInt(value));
    CHECK_FALSE(tooManyTags.atEnd());
}

TEST_CASE("osc decoder: refusals are counted by their cause")
{
    Collected sink;
    Tactile::OscDecoder decoder;
    decoder.decode("", 0, sink);
    decoder.decode("abc", 3, sink);
    decoder.decode("abc", 3, sink);
    const auto& refusals = decoder.refusals();
    CHECK(refusals[static_cast<std::size_t>(OscRefusal::Empty)] == 1);
    CHECK(refusals[static_cast<std::size_t>(OscRefusal::NotMultipleOfFour)] == 2);
    CHECK(refusals[static_cast<std::size_t>(OscRefusal::None)] == 0);
}

TEST_CASE("osc decoder: what the sink refuses is refused and counted, and ends the packet")
{
    struct Picky final : Tactile::OscMessageSink
    {
        int messages = 0;
        OscRefusal message(const Tactile::OscMessage&) override
        {
            ++messages;
            return OscRefusal::ArgumentMismatch;
        }
    } sink;
    Tactile::OscWriter writer;
    writer.beginBundle();
    for (int i = 0; i < 3; ++i) {
        writer.beginMessage("/m", ",");
        writer.endMessage();
    }
    writer.endBundle();
    Tactile::OscDecoder decoder;
    CHECK(decoder.decode(writer.packet().data(), writer.packet().size(), sink) == OscRefusal::ArgumentMismatch);
    CHECK(sink.messages == 1);
    CHECK(decoder.refusals()[static_cast<std::size_t>(OscRefusal::ArgumentMismatch)] == 1);
}
