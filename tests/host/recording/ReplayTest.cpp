#include "recording/Replay.hpp"

#include <Bedrock/Inbox.hpp>
#include <LogCapture.hpp>

#include <doctest/doctest.h>

#include <thread>

using Bedrock::Arrival;
using Bedrock::Inbox;
using Host::Replay;

namespace
{
Inbox& inbox()
{
    return Inbox::instance();
}
}

TEST_CASE("replay: each frame takes what the recorded one took, in its order, and waits for what is under way")
{
    Replay replay;
    std::string order;
    auto first = inbox().begin('i');
    auto second = inbox().begin('p');
    std::move(first).answer([&] { order += "first "; });
    replay.expect(1, {});
    CHECK(inbox().deliver() == 0);

    std::thread worker([&] { std::move(second).answer([&] { order += "second "; }); });
    replay.expect(2, {{2, 0, 'p', {}, {}}, {1, 0, 'i', {}, {}}});
    CHECK_FALSE(second);
    CHECK(inbox().deliver() == 2);
    worker.join();
    CHECK(order == "second first ");
    CHECK(inbox().deliver() == 0); // a frame beyond the recording takes nothing
}

TEST_CASE("replay: what never comes is a warning, and so is that the frame goes another way, once")
{
    Replay replay;
    auto never = inbox().begin('i');
    TestSupport::expectWarning("Replay # Waited 0.01 s in vain for what frame 7 of the recording took, such as a picture; the "
                               "replay goes on without");
    replay.expect(7, {{1, 0, 'i', {}, {}}}, 10);
    TestSupport::expectWarning("Replay # The replay goes another way than what was recorded: a result is missing that a frame "
                               "took, and from here on widgets may differ. Check whether files of the presentation have changed");
    CHECK(inbox().deliver() == 0);
    // It is less patient from there on, and not a second time another way.
    TestSupport::expectWarningStartingWith("Replay # Waited 0.2 s in vain for what frame 8 ");
    replay.expect(8, {{1, 0, 'i', {}, {}}, {9, 0, 'j', Arrival::Content::Bytes, "never asked"}});
    CHECK(inbox().deliver() == 0);
}

TEST_CASE("replay: nothing is waited for that cannot come, and a job that was given up is no difference")
{
    Replay replay;
    {
        const auto givenUp = inbox().begin('i');
    }
    replay.expect(1, {{1, 0, 'i', {}, {}}});
    CHECK(inbox().deliver() == 0);
}

TEST_CASE("replay: is plugged in as long as it lives")
{
    int asked = 0;
    const auto ask = [&] {
        inbox().ask(
            'j', [&](const Bedrock::BytesReply&) { ++asked; }, [](const QByteArray&) {});
    };
    {
        const Replay replay;
        ask();
        CHECK(asked == 0);
    }
    CHECK(inbox().openJobs() == 0);
    ask();
    CHECK(asked == 1);
    inbox().clear();
}
