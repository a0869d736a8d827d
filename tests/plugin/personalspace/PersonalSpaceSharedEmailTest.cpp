#include "FakeCollectionStore.hpp"
#include "MailSpace.hpp"

#include <doctest/doctest.h>

using PluginTest::expectFailedMail;
using PluginTest::FakeCollectionStore;
using PluginTest::Mail;
using PluginTest::Strings;

namespace
{
/// Ann's space on one of several tables that share what she has collected.
struct SharedMail : Mail
{
    std::shared_ptr<FakeCollectionStore> store = std::make_shared<FakeCollectionStore>();

    SharedMail() : Mail(false)
    {
        store->shared = true;
        store->keepEarlier(code, "x-1", "one", 1);
        store->keepEarlier(code, "x-2", "two", 1);
        host.tavola().services()->addService("collection-store", QString(), store);
        widget->setCode(code);
        host.frame();
        REQUIRE(contents->items().size() == 2);
    }
    ~SharedMail() { store->breakPromises(); }
    Strings names() const
    {
        Strings result;
        for (const auto& entry : contents->items())
            result.push_back(entry.second.files.displayName.toStdString());
        return result;
    }
};
}

TEST_CASE("shared sending: of several tables that show a card, the letter of one has what no other one sends")
{
    SharedMail mail;
    mail.store->othersClaims = {"x-1"};
    mail.tapEnvelope();
    CHECK(mail.store->claims == std::vector<int>{2});
    CHECK(mail.service->sent().empty());
    mail.host.frame();
    REQUIRE(mail.service->sent().size() == 1);
    CHECK(mail.service->sent().front().content.contains("http://two"));
    CHECK_FALSE(mail.service->sent().front().content.contains("http://one"));
    // What the program removes at its next start, should it end now.
    CHECK(mail.service->sent().front().collected.code == mail.code);
    CHECK(mail.service->sent().front().collected.keys == QList<QString>{"run-x-2"});
    mail.succeed();
    CHECK(mail.hasClass("email-successful"));
    // The other table removes what it sends.
    CHECK(mail.names() == Strings{"one"});
    CHECK(mail.store->changes() == Strings{"remove x-2"});
}

TEST_CASE("shared sending: what one of several tables fails to send is free for the others at once")
{
    SharedMail mail;
    mail.store->othersClaims = {"x-1"};
    mail.tapEnvelope();
    mail.host.frame();
    REQUIRE(mail.service->sent().size() == 1);
    expectFailedMail("the server is away");
    mail.service->answer(0, {false, QStringLiteral("the server is away")});
    mail.host.frame();
    CHECK(mail.hasClass("email-failed"));
    CHECK(mail.names().size() == 2);
    CHECK(mail.store->changes() == Strings{"release x-2"});
}

TEST_CASE("shared sending: a tap at one table while another one sends everything sends nothing more")
{
    SharedMail mail;
    mail.store->othersClaims = {"x-1", "x-2"};
    mail.tapEnvelope();
    mail.host.frame();
    CHECK(mail.service->sent().empty());
    CHECK(mail.hasClass("email-successful"));
    CHECK(mail.names().size() == 2);
    CHECK(mail.store->changes().empty());
}

TEST_CASE("shared sending: a store that cannot be asked keeps no letter back, nor does a space that closes meanwhile")
{
    SharedMail mail;
    mail.store->throws = true;
    mail.tapEnvelope();
    mail.close();
    mail.host.frame();
    REQUIRE(mail.service->sent().size() == 1);
    CHECK(mail.service->sent().front().content.contains("http://one"));
    mail.succeed();
    CHECK(mail.names().empty());
}

TEST_CASE("shared sending: an empty space of a shared store claims nothing")
{
    SharedMail mail;
    mail.contentWidget()->removeItems();
    mail.tapEnvelope();
    CHECK(mail.store->claims.empty());
    CHECK(mail.service->sent().size() == 1);
}

TEST_CASE("shared sending: a table whose store is its own asks it for nothing, and sends everything with the tap")
{
    SharedMail mail;
    mail.store->shared = false;
    mail.tapEnvelope();
    CHECK(mail.store->claims.empty());
    REQUIRE(mail.service->sent().size() == 1);
    CHECK(mail.service->sent().front().content.contains("http://one"));
    CHECK(mail.service->sent().front().content.contains("http://two"));
}
