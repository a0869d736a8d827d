#include "services/MediaServerWatch.hpp"

#include "AnsweringServer.hpp"
#include "ReplaySession.hpp"
#include "services/ServiceStates.hpp"

#include <EventLoop.hpp>

#include <doctest/doctest.h>

#include <optional>

using Bedrock::Inbox;
using Host::MediaServerProbe;
using Host::MediaServerWatch;
using Host::ServiceState;
using Host::ServiceStates;

namespace
{
struct Fixture
{
    ~Fixture() { Inbox::instance().clear(); }
    void frame(float seconds)
    {
        (void)Inbox::instance().deliver();
        watch.update(seconds);
    }
    /// Answers the open question, whose answer shows with the next frame.
    void answer(bool isThere)
    {
        REQUIRE(question);
        std::exchange(question, nullptr)(isThere);
        frame(0.f);
    }
    bool isAway() const { return states->is(ServiceState::MediaServerAway); }

    std::shared_ptr<ServiceStates> states = std::make_shared<ServiceStates>();
    int asked = 0;
    MediaServerProbe::Done question;
    MediaServerWatch watch{states, [this](MediaServerProbe::Done done) {
                               ++asked;
                               question = std::move(done);
                           }};
};

/// Whether a probe finds a server that answers so.
bool finds(const QByteArray& answer)
{
    AnsweringServer server(answer);
    MediaServerProbe probe(QUrl(QStringLiteral("http://127.0.0.1:%1/").arg(server.port())), 60.0);
    std::optional<bool> found;
    probe.ask([&found](bool isThere) { found = isThere; });
    REQUIRE(TestSupport::pumpUntil([&] { return found.has_value(); }));
    CHECK(server.requests().front().startsWith("GET / HTTP/1.1\r\n"));
    return *found;
}
}

TEST_CASE("media server watch: it asks now and then, and more often while the server is away")
{
    Fixture f;
    f.frame(14.f);
    CHECK(f.asked == 0);
    f.frame(1.f);
    CHECK(f.asked == 1);
    CHECK_FALSE(f.isAway());
    f.answer(false);
    CHECK(f.isAway());
    f.frame(4.9f);
    CHECK(f.asked == 1);
    f.frame(0.2f);
    CHECK(f.asked == 2);
    f.answer(true);
    CHECK_FALSE(f.isAway());
    f.frame(14.f);
    CHECK(f.asked == 2);
}

TEST_CASE("media server watch: a command's failure makes it ask soon")
{
    Fixture f;
    f.frame(6.f);
    f.states->set(ServiceState::MediaServerAway, true);
    f.frame(0.f);
    CHECK(f.asked == 1);
    f.answer(true);
    CHECK_FALSE(f.isAway());
}

TEST_CASE("media server watch: one question at a time, and none without a media server")
{
    Fixture f;
    f.frame(15.f);
    f.frame(100.f);
    CHECK(f.asked == 1);
    MediaServerWatch none(f.states, {});
    none.update(100.f);
    CHECK(Inbox::instance().openJobs() == 1);
}

TEST_CASE("media server watch: a replay has the answers of the day")
{
    ReplaySession session;
    {
        MediaServerWatch watch(std::make_shared<ServiceStates>(), [](const MediaServerProbe::Done& done) { done(false); });
        watch.update(15.f);
        CHECK(Inbox::instance().deliver() == 1);
    }
    session.replay();
    const auto states = std::make_shared<ServiceStates>();
    MediaServerWatch watch(states, [](const MediaServerProbe::Done&) { FAIL("asked in a replay"); });
    watch.update(15.f);
    CHECK(session.frame(session.recorded) == 1);
    CHECK(states->is(ServiceState::MediaServerAway));
}

TEST_CASE("media server probe: any answer but a server's failure means that it is there")
{
    CHECK(finds("HTTP/1.1 405 Method Not Allowed\r\nContent-Length: 0\r\n\r\n"));
    CHECK(finds("HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\nok"));
    CHECK_FALSE(finds("HTTP/1.1 502 Bad Gateway\r\nContent-Length: 0\r\n\r\n"));
    CHECK_FALSE(finds("no HTTP\r\n\r\n"));
}
