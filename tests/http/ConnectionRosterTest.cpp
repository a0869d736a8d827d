#include "ConnectionRoster.hpp"

#include <doctest/doctest.h>

#include <deque>

using namespace Http;

namespace
{

struct Visitor final : ConnectionRoster::Member
{
    explicit Visitor(const std::string& address) : Member(address) {}
    void giveUp() override { ++givenUp; }
    int givenUp = 0;
};

struct Fixture
{
    /// A new connection that has entered; "" is this machine.
    Visitor& enter(const std::string& address)
    {
        visitors.emplace_back(address);
        entry = roster.enter(visitors.back());
        return visitors.back();
    }

    Visitor& download(const std::string& address)
    {
        Visitor& visitor = enter(address);
        REQUIRE(roster.beginDownload(visitor));
        return visitor;
    }

    std::deque<Visitor> visitors;
    ConnectionRoster::Entry entry = ConnectionRoster::Entry::Free;
    ConnectionRoster roster{{/*connections*/ 8, /*keptFree*/ 2, /*perAddress*/ 3}};
};

using Entry = ConnectionRoster::Entry;

} // namespace

TEST_CASE_FIXTURE(Fixture, "connection roster: the connection that has waited longest makes room for a new one")
{
    Visitor& first = enter("a");
    Visitor& second = enter("b");
    for (const char* address : {"c", "d", "e", "f", "g", "h"})
        enter(address);
    CHECK(entry == Entry::Free);
    CHECK(first.givenUp == 0);
    roster.waitsAnew(first);

    enter("i");
    CHECK(entry == Entry::Full);
    CHECK(second.givenUp == 1);
    CHECK(roster.size() == 8);
    enter("j");
    CHECK(visitors[2].givenUp == 1);
    CHECK(first.givenUp == 0);
}

TEST_CASE_FIXTURE(Fixture, "connection roster: other machines go before this one")
{
    Visitor& table = enter("");
    for (const char* address : {"a", "b", "c", "d", "e", "f", "g"})
        enter(address);
    enter("h");
    CHECK(entry == Entry::Full);
    CHECK(table.givenUp == 0);
    CHECK(visitors[1].givenUp == 1);
}

TEST_CASE_FIXTURE(Fixture, "connection roster: this machine may have all connections, and makes room for itself")
{
    for (int i = 0; i < 8; ++i)
        enter("");
    CHECK(entry == Entry::Free);
    enter("");
    CHECK(entry == Entry::Full);
    CHECK(visitors[0].givenUp == 1);
}

TEST_CASE_FIXTURE(Fixture, "connection roster: an address that has its number makes room for itself, and for no other")
{
    Visitor& other = enter("b");
    Visitor& first = enter("a");
    enter("a");
    enter("a");
    CHECK(entry == Entry::Free);
    enter("a");
    CHECK(entry == Entry::AddressFull);
    CHECK(first.givenUp == 1);
    CHECK(other.givenUp == 0);
    CHECK(roster.size() == 4);
}

TEST_CASE_FIXTURE(Fixture, "connection roster: downloads leave some connections free, and are never given up")
{
    for (const char* address : {"a", "b", "c", "d", "e", ""})
        download(address);
    Visitor& late = enter("f");
    CHECK_FALSE(roster.beginDownload(late));
    Visitor& another = enter("");
    CHECK_FALSE(roster.beginDownload(another));

    Visitor& table = enter("");
    CHECK(entry == Entry::Full);
    CHECK(late.givenUp == 1);
    CHECK(table.givenUp == 0);
    for (std::size_t i = 0; i < 6; ++i)
        CHECK(visitors[i].givenUp == 0);

    roster.endDownload(visitors[0]);
    CHECK(roster.beginDownload(table));
}

TEST_CASE_FIXTURE(Fixture, "connection roster: downloads of one address leave it one connection, and this machine is not bound")
{
    download("a");
    download("a");
    Visitor& third = enter("a");
    CHECK_FALSE(roster.beginDownload(third));
    enter("a");
    CHECK(third.givenUp == 1);
    for (int i = 0; i < 4; ++i)
        download("");
}

TEST_CASE_FIXTURE(Fixture, "connection roster: a connection that has left is neither counted nor given up")
{
    for (const char* address : {"a", "b", "c", "d", "e", "f"})
        download(address);
    roster.leave(visitors[0]);
    download("g");
    for (Visitor& visitor : visitors)
        roster.leave(visitor);
    CHECK(roster.size() == 0);
    for (int i = 0; i < 8; ++i)
        enter(std::to_string(i));
    for (const Visitor& visitor : visitors)
        CHECK(visitor.givenUp == 0);
}

TEST_CASE("connection roster: if all others download, the new one has to go")
{
    ConnectionRoster roster({/*connections*/ 1, /*keptFree*/ 1, /*perAddress*/ 1});
    Visitor first("");
    Visitor second("");
    roster.enter(first);
    REQUIRE(roster.beginDownload(first));
    CHECK(roster.enter(second) == Entry::Full);
    CHECK(first.givenUp == 0);
    CHECK(second.givenUp == 1);
    CHECK(roster.size() == 1);
}

TEST_CASE("connection roster: a connection that is owed an answer makes no room")
{
    Fixture f;
    Visitor& answering = f.enter("phone");
    f.roster.setAnswering(answering, true);
    Visitor& idle = f.enter("phone");
    f.enter("phone");
    f.enter("phone");
    CHECK(f.entry == ConnectionRoster::Entry::AddressFull);
    CHECK(answering.givenUp == 0);
    CHECK(idle.givenUp == 1);
    f.roster.setAnswering(answering, false);
    f.enter("phone");
    CHECK(answering.givenUp == 1);
}
