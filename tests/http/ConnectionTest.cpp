#include "Connection.hpp"

#include <doctest/doctest.h>

using boost::asio::ip::make_address;
using Http::Connection;

// What a connection sends and receives is tested with its server.

TEST_CASE("HTTP connection: this machine has no address of its own, whichever it uses; others have theirs, and those of IPv6 "
          "share one per network, but for link-local ones")
{
    struct Row
    {
        const char* remote;
        const char* local;
        const char* client;
    };
    const Row rows[] = {
        {"127.0.0.1", "127.0.0.1", ""},
        {"127.0.0.5", "127.0.0.1", ""},
        {"::1", "::1", ""},
        {"::ffff:127.0.0.1", "::ffff:127.0.0.1", ""},
        {"192.0.2.5", "192.0.2.5", ""},
        {"192.0.2.6", "192.0.2.5", "192.0.2.6"},
        {"::ffff:192.0.2.6", "::ffff:192.0.2.5", "192.0.2.6"},
        {"2001:db8::6", "2001:db8::5", "2001:db8::/64"},
        {"2001:db8::aaaa:bbbb:cccc:dddd", "2001:db8:0:1::5", "2001:db8::/64"},
        {"2001:db8:1:2:3:4:5:6", "2001:db8::5", "2001:db8:1:2::/64"},
        {"2001:db8::5", "2001:db8::5", ""},
        {"fe80::6", "fe80::5", "fe80::6"},
        {"fe80::7", "fe80::5", "fe80::7"},
        {"febf::1:2:3:4", "fe80::5", "febf::1:2:3:4"},
        {"fec0::6", "fe80::5", "fec0::/64"},
        {"fe80::5", "fe80::5", ""},
    };
    for (const Row& row : rows) {
        CAPTURE(row.remote);
        CHECK(Connection::clientAddress(make_address(row.remote), make_address(row.local)) == row.client);
    }
}
