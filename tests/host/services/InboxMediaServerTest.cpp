#include "services/InboxMediaServer.hpp"

#include "ReplaySession.hpp"
#include "services/ServiceStates.hpp"

#include <Bedrock/LogText.hpp>
#include <FakeServices.hpp>

#include <doctest/doctest.h>

#include <QJsonObject>

#include <stdexcept>
#include <thread>

using Bedrock::Inbox;
using Host::InboxMediaServer;

namespace
{
std::string told(const folly::Future<QJsonObject>& future)
{
    return outcomeOf(future,
                     [](const QJsonObject& answer) { return answer.value(QLatin1String("says")).toString().toStdString(); });
}

std::vector<folly::Future<QJsonObject>> ask(InboxMediaServer& server)
{
    std::vector<folly::Future<QJsonObject>> futures;
    for (int i = 0; i < 3; ++i)
        futures.push_back(server.request({{"command", i}}));
    return futures;
}
}

TEST_CASE("inbox media server: answers of any thread come in the input step, on the main thread, in the order of the answers")
{
    const auto fake = std::make_shared<TestSupport::FakeMediaServer>();
    fake->holdAnswers(true);
    InboxMediaServer server(fake);
    std::string order;
    std::thread::id thread;
    auto futures = ask(server);
    auto first = std::move(futures[0]).thenTry([&](folly::Try<QJsonObject>&&) { order += "first "; });
    auto second = std::move(futures[1]).thenValue([&](const QJsonObject& answer) {
        order += answer.value(QLatin1String("says")).toString().toStdString();
        thread = std::this_thread::get_id();
    });
    fake->answerFromThread(1, {{"says", "second "}});
    fake->answer(0, {});
    CHECK(order.empty());
    CHECK(Inbox::instance().deliver() == 2);
    CHECK(order == "second first ");
    CHECK(thread == std::this_thread::get_id());
    fake->breakPromises();
    CHECK(Inbox::instance().deliver() == 1);
    CHECK(told(futures[2]).rfind("failure: Broken promise", 0) == 0);
}

TEST_CASE("inbox media server: a source gives each command the answer of the day, in its frame, and no server is asked")
{
    ReplaySession session;
    const auto fake = std::make_shared<TestSupport::FakeMediaServer>();
    fake->holdAnswers(true);
    {
        InboxMediaServer server(fake);
        const auto futures = ask(server);
        CHECK(fake->commands().size() == 3);
        fake->answerFromThread(1, {{"says", QStringLiteral("späť")}});
        fake->fail(0, "The media server is away");
        CHECK(told(futures[1]) == "");
        CHECK(Inbox::instance().deliver() == 2);
        CHECK(told(futures[0]) == "failure: The media server is away");
        CHECK(told(futures[1]) == "späť");
        CHECK(told(futures[2]) == "");
        REQUIRE(session.recorded.size() == 2);
        CHECK(session.recorded[0].job == 2);
    }
    session.replay();
    InboxMediaServer replayed(nullptr);
    const auto futures = ask(replayed);
    CHECK(session.frame({}) == 0);
    CHECK(told(futures[1]) == "");
    CHECK(session.frame(session.recorded) == 2);
    CHECK(told(futures[0]) == "failure: The media server is away");
    CHECK(told(futures[1]) == "späť");
    CHECK(told(futures[2]) == "");
    CHECK(fake->commands().size() == 3);
    CHECK(session.missing == 0);
}

TEST_CASE("inbox media server: the state shows that the last answer was a failure")
{
    const auto fake = std::make_shared<TestSupport::FakeMediaServer>();
    fake->holdAnswers(true);
    const auto states = std::make_shared<Host::ServiceStates>();
    InboxMediaServer server(fake, states);
    const auto futures = ask(server);
    fake->fail(0, "The media server is away");
    CHECK(Inbox::instance().deliver() == 1);
    CHECK(states->is(Host::ServiceState::MediaServerAway));
    fake->answer(1, {});
    CHECK(Inbox::instance().deliver() == 1);
    CHECK_FALSE(states->is(Host::ServiceState::MediaServerAway));
    Inbox::instance().clear();
}

TEST_CASE("inbox media server: the page of an answer is shortened in lines that leave the program, also in a replay")
{
    const auto fake = std::make_shared<TestSupport::FakeMediaServer>();
    fake->holdAnswers(true);
    InboxMediaServer server(fake);
    const auto future = server.request({{"command", 0}});
    fake->answer(0, {{"userpageurl", "http://host/replayed?page=AAAABBBB"}});
    CHECK(Inbox::instance().deliver() == 1);
    CHECK(Bedrock::withoutSecrets("A # http://host/replayed?page=AAAABBBB") == "A # http://host/…");
}
