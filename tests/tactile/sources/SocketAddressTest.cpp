#include "sources/SocketAddress.hpp"

#include <doctest/doctest.h>

using Tactile::SocketAddress;

TEST_CASE("socket address: numeric addresses of both kinds and this machine's name are read")
{
    struct Row
    {
        const char* text;
        const char* sender;
    };
    for (const Row& row :
         {Row{"127.0.0.1", "127.0.0.1:3333"}, Row{"0.0.0.0", "0.0.0.0:3333"}, Row{"localhost", "127.0.0.1:3333"},
          Row{"::1", "[::1]:3333"}, Row{"2001:db8::20", "[2001:db8::20]:3333"}, Row{"::ffff:10.0.0.7", "10.0.0.7:3333"}}) {
        CAPTURE(row.text);
        SocketAddress address;
        REQUIRE(SocketAddress::parse(row.text, 3333, address));
        CHECK(address.toSender().toString() == row.sender);
    }
}

TEST_CASE("socket address: what is no numeric address is refused")
{
    for (const char* text : {"", "table.local", "127.0.0.1:3333", "[::1]", "127.0.0", "1.2.3.256", " 127.0.0.1"}) {
        CAPTURE(text);
        SocketAddress address;
        CHECK_FALSE(SocketAddress::parse(text, 1, address));
    }
}

TEST_CASE("socket address: its size is that of its kind, for the operating system")
{
    SocketAddress v4;
    SocketAddress v6;
    REQUIRE(SocketAddress::parse("127.0.0.1", 1, v4));
    REQUIRE(SocketAddress::parse("::1", 1, v6));
    CHECK(v4.get()->sa_family == AF_INET);
    CHECK(v6.get()->sa_family == AF_INET6);
    CHECK(v4.size < v6.size);
    CHECK(SocketAddress().size == sizeof(sockaddr_storage));
}
