#include "services/MailDelayWatch.hpp"

#include "ReplaySession.hpp"
#include "services/ServiceStates.hpp"

#include <doctest/doctest.h>

using Bedrock::Inbox;
using Host::MailDelayWatch;
using Host::ServiceState;
using Host::ServiceStates;

TEST_CASE("mail delay watch: it asks once at the beginning, and then each second while mail is delayed")
{
    const auto states = std::make_shared<ServiceStates>();
    int asked = 0;
    bool isDelayed = true;
    MailDelayWatch watch(states, [&] {
        ++asked;
        return isDelayed;
    });
    const auto frame = [&](float dt) {
        (void)Inbox::instance().deliver();
        watch.update(dt);
    };
    frame(0.1f);
    CHECK(asked == 1);
    CHECK_FALSE(states->is(ServiceState::MailDelayed));
    frame(0.1f);
    CHECK(states->is(ServiceState::MailDelayed));
    CHECK(asked == 1);
    frame(0.95f);
    CHECK(asked == 2);
    isDelayed = false;
    frame(1.1f);
    CHECK(asked == 3);
    frame(1.1f);
    CHECK_FALSE(states->is(ServiceState::MailDelayed));
    frame(5.f);
    CHECK(asked == 3);
    // A message that the outbox keeps later.
    states->set(ServiceState::MailDelayed, true);
    frame(0.1f);
    CHECK(asked == 4);
    Inbox::instance().clear();
}

TEST_CASE("mail delay watch: a table without e-mail asks nothing")
{
    MailDelayWatch watch(std::make_shared<ServiceStates>(), {});
    watch.update(1.f);
    CHECK(Inbox::instance().openJobs() == 0);
    CHECK_FALSE(Inbox::instance().isWaiting());
}

TEST_CASE("mail delay watch: a replay has the answers of the day")
{
    ReplaySession session;
    {
        MailDelayWatch watch(std::make_shared<ServiceStates>(), [] { return true; });
        watch.update(1.f);
        CHECK(Inbox::instance().deliver() == 1);
    }
    session.replay();
    const auto states = std::make_shared<ServiceStates>();
    int asked = 0;
    MailDelayWatch watch(states, [&asked] { return ++asked > 100; });
    watch.update(1.f);
    CHECK(session.frame(session.recorded) == 1);
    CHECK(states->is(ServiceState::MailDelayed));
    CHECK(asked == 0);
}
