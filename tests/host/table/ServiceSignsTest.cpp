#include "table/ServiceSigns.hpp"

#include "services/ServiceStates.hpp"

#include <TestHost.hpp>

#include <doctest/doctest.h>

using namespace Host;

TEST_CASE("service signs: the root of the table has a state for each service that does not work, in the same frame")
{
    TestSupport::TestHost host;
    const auto states = std::make_shared<ServiceStates>();
    auto& root = *host.app().mainLayer();
    root.addOperator(Bedrock::makeIntrusive<ServiceSigns>(states, std::function<bool()>()));
    const std::pair<ServiceState, const char*> rows[] = {{ServiceState::MailDelayed, "mail-delayed"},
                                                         {ServiceState::MediaServerAway, "media-server-away"},
                                                         {ServiceState::PeopleAway, "people-away"}};
    host.frame();
    for (const auto& [state, name] : rows) {
        CAPTURE(name);
        CHECK_FALSE(root.hasPseudoClass(name));
        states->set(state, true);
        host.frame();
        CHECK(root.hasPseudoClass(name));
        states->set(state, false);
        host.frame();
        CHECK_FALSE(root.hasPseudoClass(name));
    }
}

TEST_CASE("service signs: mail that an earlier table left in the outbox shows from the beginning")
{
    TestSupport::TestHost host;
    auto& root = *host.app().mainLayer();
    root.addOperator(Bedrock::makeIntrusive<ServiceSigns>(std::make_shared<ServiceStates>(), [] { return true; }));
    host.frames(2);
    CHECK(root.hasPseudoClass("mail-delayed"));
}
