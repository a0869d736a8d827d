#include <Bedrock/Inbox.hpp>

#include <Bedrock/InboxSource.hpp>
#include <LogCapture.hpp>
#include <Patience.hpp>

#include <doctest/doctest.h>

#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

using Bedrock::Arrival;
using Bedrock::BytesReply;
using Bedrock::Inbox;
using Bedrock::InboxSource;
using Bedrock::Reply;
using Content = Bedrock::Arrival::Content;

namespace
{
using TestSupport::kPatience;
constexpr std::chrono::milliseconds kNone(0);

template <class Function>
void elsewhere(Function function)
{
    std::thread(function).join();
}

/// Each frame takes the next list.
struct Script final : InboxSource
{
    std::vector<std::vector<Arrival>> frames;
    std::vector<Arrival> notThere;

    std::vector<Arrival> next() override
    {
        if (frames.empty())
            return {};
        auto first = frames.front();
        frames.erase(frames.begin());
        return first;
    }
    void missed(const Arrival& arrival) override { notThere.push_back(arrival); }
};

std::string describe(const std::vector<Arrival>& arrivals)
{
    std::string text;
    for (const Arrival& arrival : arrivals)
        text += std::string(1, arrival.kind) + std::to_string(arrival.job) + "." + std::to_string(arrival.part)
            + (arrival.content == Content::Bytes ? "=" + arrival.bytes.toStdString() : "")
            + (arrival.content == Content::Nothing ? "!" : "") + " ";
    return text;
}

/// Three jobs, the last one outside of the process; the first answers after the second.
struct Work
{
    explicit Work(Inbox& inbox) : picture(inbox.begin('i')), page(inbox.begin('p'))
    {
        inbox.ask(
            'j', [this](BytesReply reply) { question = std::move(reply); },
            [this](const QByteArray& bytes) { order += bytes.toStdString() + " "; });
    }
    void answerPage()
    {
        std::move(page).answer([this] { order += "page "; });
    }
    void answerPicture()
    {
        std::move(picture).answer([this] { order += "picture "; });
    }

    std::string order;
    Reply picture;
    Reply page;
    BytesReply question;
};

template <class R>
auto canAnswerTwice(int) -> decltype(std::declval<R&>().answer({}), std::true_type());
template <class R>
std::false_type canAnswerTwice(long);
}

TEST_CASE("inbox: results enter in the order of the answers, at the frame and on its thread")
{
    Inbox inbox;
    Work work(inbox);
    std::thread::id thread;
    elsewhere([&] {
        work.answerPage();
        inbox.begin('x').answer([&] { thread = std::this_thread::get_id(); });
    });
    std::move(work.question).answer("yes");
    work.answerPicture();
    CHECK(work.order.empty());
    CHECK(inbox.isWaiting());
    CHECK(inbox.deliver() == 4);
    CHECK(work.order == "page yes picture ");
    CHECK(thread == std::this_thread::get_id());
    CHECK_FALSE(inbox.isWaiting());
    CHECK(inbox.openJobs() == 0);
    CHECK(inbox.deliver() == 0);
}

TEST_CASE("inbox: the order, thread and frame of results are the same live, recorded and replayed")
{
    std::vector<std::vector<Arrival>> recorded;
    std::vector<std::string> orders;
    for (const char* mode : {"live", "recorded", "replayed"}) {
        CAPTURE(mode);
        Inbox inbox;
        Script script;
        if (std::string(mode) == "recorded") {
            recorded.assign(1, {});
            inbox.setTap([&](const Arrival& arrival) { recorded.back().push_back(arrival); });
        }
        if (std::string(mode) == "replayed") {
            script.frames = recorded;
            inbox.setSource(&script);
        }
        Work work(inbox);
        std::string order;
        const auto frame = [&] {
            (void)inbox.deliver();
            order += work.order + "| ";
            work.order.clear();
            recorded.emplace_back();
        };
        const auto answerQuestion = [&] { std::move(work.question).answer("yes"); };
        if (std::string(mode) == "replayed") {
            elsewhere([&] { work.answerPicture(); });
            answerQuestion();
            elsewhere([&] { work.answerPage(); });
            recorded.clear();
        }
        frame();
        elsewhere([&] { work.answerPage(); });
        answerQuestion();
        frame();
        elsewhere([&] { work.answerPicture(); });
        frame();
        orders.push_back(order);
        CHECK(script.notThere.empty());
    }
    CHECK(orders[0] == "| page yes | picture | ");
    CHECK(orders[1] == orders[0]);
    CHECK(orders[2] == orders[0]);
}

TEST_CASE("inbox: the tap sees each result ahead of its delivery, with job, part and bytes")
{
    Inbox inbox;
    std::vector<Arrival> taken;
    std::size_t takenBefore = 0;
    inbox.setTap([&](const Arrival& arrival) { taken.push_back(arrival); });
    Reply task = inbox.begin('t');
    inbox.ask(
        'm', [](BytesReply reply) { std::move(reply).answer("sent"); }, [](const QByteArray&) {});
    task.answerInPart([&] { takenBefore = taken.size(); });
    std::move(task).answer([] {});
    inbox.ask(
        'm', [](const BytesReply&) {}, [](const QByteArray&) {});
    CHECK(inbox.deliver() == 4);
    CHECK(describe(taken) == "m2.0=sent t1.0 t1.1 m3.0! ");
    CHECK(takenBefore == 2);
}

TEST_CASE("inbox: a reply is answered once; the compiler refuses to answer one that is kept")
{
    static_assert(!std::is_copy_constructible_v<Reply> && !std::is_copy_assignable_v<Reply>);
    static_assert(!std::is_copy_constructible_v<BytesReply> && !std::is_copy_assignable_v<BytesReply>);
    static_assert(!decltype(canAnswerTwice<Reply>(0))::value && !decltype(canAnswerTwice<BytesReply>(0))::value);
    Inbox inbox;
    int ran = 0;
    Reply reply = inbox.begin('i');
    CHECK(reply);
    std::move(reply).answer([&] { ++ran; });
    CHECK_FALSE(reply);
    std::move(reply).answer([&] { ran += 10; });
    reply.answerInPart([&] { ran += 100; });
    CHECK(inbox.deliver() == 1);
    CHECK(ran == 1);
}

TEST_CASE("inbox: a reply that is dropped ends its job without a result")
{
    Inbox inbox;
    SUBCASE("destroyed")
    {
        const Reply reply = inbox.begin('i');
        CHECK(inbox.openJobs() == 1);
    }
    SUBCASE("answered with no function")
    {
        inbox.begin('i').answer(nullptr);
    }
    SUBCASE("overwritten by another")
    {
        Reply reply = inbox.begin('i');
        reply = Reply();
    }
    SUBCASE("destroyed on another thread")
    {
        elsewhere([reply = std::make_shared<Reply>(inbox.begin('i'))]() mutable { reply.reset(); });
    }
    CHECK(inbox.openJobs() == 0);
    CHECK(inbox.deliver() == 0);
}

TEST_CASE("inbox: what waits for an answer that never comes is destroyed on the main thread, in a frame")
{
    Inbox inbox;
    std::thread::id thread;
    auto held = std::shared_ptr<int>(new int(0), [&](const int* number) {
        delete number;
        thread = std::this_thread::get_id();
    });
    const std::weak_ptr<int> weak = held;
    std::optional<BytesReply> reply;
    inbox.ask(
        'j', [&](BytesReply given) { reply = std::move(given); }, [held = std::move(held)](const QByteArray&) {});
    elsewhere([&] { reply.reset(); });
    CHECK_FALSE(weak.expired());
    CHECK(inbox.deliver() == 1);
    CHECK(weak.expired());
    CHECK(thread == std::this_thread::get_id());
}

TEST_CASE("inbox: a question that cannot be asked is an error, and ends without an answer")
{
    Inbox inbox;
    bool isAnswered = false;
    TestSupport::expectError("Inbox::ask # A question could not be asked (no line)");
    inbox.ask(
        'j', [](const BytesReply&) { throw std::runtime_error("no line"); }, [&](const QByteArray&) { isAnswered = true; });
    CHECK(inbox.openJobs() == 0);
    CHECK(inbox.deliver() == 1);
    CHECK_FALSE(isAnswered);
}

TEST_CASE("inbox: a job that another thread begins is delivered like the others, and has no number")
{
    Inbox inbox;
    std::vector<Arrival> taken;
    int ran = 0;
    inbox.setTap([&](const Arrival& arrival) { taken.push_back(arrival); });
    elsewhere([&] { inbox.begin('q').answer([&] { ++ran; }); });
    inbox.begin('i').answer([&] { ++ran; });
    CHECK(inbox.deliver() == 2);
    CHECK(describe(taken) == "i1.0 ");

    Script script;
    inbox.setSource(&script);
    elsewhere([&] { inbox.begin('q').answer([&] { ++ran; }); });
    CHECK(inbox.deliver() == 1);
    CHECK(ran == 3);
}

TEST_CASE("inbox: jobs that a question begins have no number, because a source does not ask it")
{
    Inbox inbox;
    std::vector<Arrival> taken;
    inbox.setTap([&](const Arrival& arrival) { taken.push_back(arrival); });
    inbox.ask(
        'j',
        [&](BytesReply reply) {
            inbox.begin('i').answer([] {});
            std::move(reply).answer("yes");
        },
        [](const QByteArray&) {});
    inbox.begin('i').answer([] {});
    CHECK(inbox.deliver() == 3);
    CHECK(describe(taken) == "j1.0=yes i2.0 ");
}

TEST_CASE("inbox: what is begun and answered during a delivery waits for the next frame")
{
    Inbox inbox;
    std::string order;
    inbox.begin('i').answer([&] {
        order += "first ";
        inbox.begin('i').answer([&] { order += "third "; });
    });
    inbox.begin('i').answer([&] { order += "second "; });
    CHECK(inbox.deliver() == 2);
    CHECK(order == "first second ");
    CHECK(inbox.deliver() == 1);
    CHECK(order == "first second third ");
}

TEST_CASE("inbox: a result that throws is logged and the others still run")
{
    Inbox inbox;
    int ran = 0;
    inbox.begin('i').answer([] { throw std::runtime_error("no more paper"); });
    inbox.begin('i').answer([] { throw 7; });
    inbox.begin('i').answer([&] { ++ran; });
    TestSupport::expectError("Inbox::deliver # A result could not be handled, the others go on (no more paper)");
    TestSupport::expectError("Inbox::deliver # A result could not be handled, the others go on (unknown exception)");
    CHECK(inbox.deliver() == 3);
    CHECK(ran == 1);
}

TEST_CASE("inbox: clear destroys what waits and what is asked, and later answers have no effect")
{
    Inbox inbox;
    int ran = 0;
    auto held = std::make_shared<int>(0);
    const std::weak_ptr<int> weak = held;
    Reply open = inbox.begin('i');
    BytesReply question;
    inbox.ask(
        'j', [&](BytesReply reply) { question = std::move(reply); }, [&ran, held](const QByteArray&) { ++ran; });
    inbox.begin('i').answer([&ran, held] { ++ran; });
    held.reset();
    inbox.clear();
    CHECK(weak.expired());
    CHECK(inbox.openJobs() == 0);
    std::move(open).answer([&] { ++ran; });
    std::move(question).answer("late");
    CHECK(inbox.deliver() == 0);
    CHECK(ran == 0);
}

TEST_CASE("inbox: clear also ends a delivery, and destroys what begins with the destruction of others")
{
    Inbox inbox;
    int ran = 0;
    auto held = std::shared_ptr<int>(new int(0), [&](const int* number) {
        delete number;
        inbox.begin('i').answer([&] { ++ran; });
    });
    inbox.begin('i').answer([&] { inbox.clear(); });
    inbox.begin('i').answer([&ran, held = std::move(held)] { ++ran; });
    CHECK(inbox.deliver() == 1);
    CHECK(inbox.deliver() == 0);
    CHECK(ran == 0);
}

TEST_CASE("inbox: replies may outlive their inbox")
{
    Reply reply;
    {
        Inbox inbox;
        reply = inbox.begin('i');
    }
    std::move(reply).answer([] { FAIL("there is no frame to come"); });
    CHECK_FALSE(reply);
}

TEST_CASE("inbox: with a source no question is asked, and results wait for the frame that takes them")
{
    Inbox inbox;
    Script script;
    inbox.setSource(&script);
    Work work(inbox);
    CHECK_FALSE(work.question);
    work.answerPicture();
    script.frames = {{}, {{3, 0, 'j', Content::Bytes, "answer"}}, {{2, 0, 'p', {}, {}}, {1, 0, 'i', {}, {}}}};
    CHECK(inbox.deliver() == 0);
    CHECK(inbox.deliver() == 1);
    work.answerPage();
    CHECK(inbox.deliver() == 2);
    CHECK(work.order == "answer page picture ");
    CHECK(script.notThere.empty());
}

TEST_CASE("inbox: waiting ends when what is wanted has arrived or cannot arrive any more")
{
    Inbox inbox;
    Script script;
    inbox.setSource(&script);
    Work work(inbox);
    const std::vector<Arrival> page{{2, 0, 'p', {}, {}}};
    CHECK_FALSE(inbox.waitFor(page, kNone));
    std::thread worker([&] { work.answerPage(); });
    CHECK(inbox.waitFor(page, kPatience));
    worker.join();
    CHECK(inbox.waitFor({{3, 0, 'j', Content::Bytes, "in the recording"}}, kNone));
    CHECK(inbox.waitFor({{9, 0, 'i', {}, {}}}, kNone)); // never begun
    CHECK(inbox.waitFor({{1, 0, 'p', {}, {}}}, kNone)); // of another kind
    std::thread dropper([&] { work.picture = Reply(); });
    CHECK(inbox.waitFor({{1, 0, 'i', {}, {}}}, kPatience));
    dropper.join();
}

TEST_CASE("inbox: the source is told what is not there; a job that ended without a result was given up, which is no difference")
{
    Inbox inbox;
    Script script;
    inbox.setSource(&script);
    Work work(inbox);
    {
        const Reply dropped = std::move(work.page);
    }
    script.frames = {{{2, 0, 'p', {}, {}}},
                     {{1, 0, 'i', {}, {}}, {3, 0, 'm', Content::Bytes, "another question"}, {4, 0, 'i', {}, {}}}};
    CHECK(inbox.deliver() == 0);
    CHECK(describe(script.notThere) == "");
    CHECK(inbox.deliver() == 0);
    CHECK(describe(script.notThere) == "i1.0 m3.0=another question i4.0 ");
}

TEST_CASE("inbox: a tap and a source count jobs from 1, and forget those from before")
{
    Inbox inbox;
    Reply before = inbox.begin('i');
    std::vector<Arrival> taken;
    inbox.setTap([&](const Arrival& arrival) { taken.push_back(arrival); });
    inbox.begin('p').answer([] {});
    std::move(before).answer([] { FAIL("it was forgotten"); });
    CHECK(inbox.deliver() == 1);
    CHECK(describe(taken) == "p1.0 ");
}

TEST_CASE("inbox: the process has one, whose main thread is that of the program")
{
    Inbox* other = nullptr;
    bool isMain = true;
    elsewhere([&] {
        other = &Inbox::instance();
        isMain = other->isMainThread();
    });
    CHECK(other == &Inbox::instance());
    CHECK_FALSE(isMain);
    CHECK(Inbox::instance().isMainThread());
}

TEST_CASE("inbox: answers of many threads all arrive, each thread's in its own order")
{
    Inbox inbox;
    constexpr int kThreads = 4;
    constexpr int kEach = 300;
    std::vector<std::vector<int>> seen(kThreads);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        auto replies = std::make_shared<std::vector<Reply>>();
        for (int i = 0; i < kEach; ++i)
            replies->push_back(inbox.begin('i'));
        threads.emplace_back([&seen, t, replies] {
            for (int i = 0; i < kEach; ++i)
                std::move((*replies)[std::size_t(i)]).answer([&seen, t, i] { seen[std::size_t(t)].push_back(i); });
        });
    }
    int delivered = 0;
    while (inbox.openJobs() > 0)
        delivered += inbox.deliver();
    for (std::thread& thread : threads)
        thread.join();
    delivered += inbox.deliver();
    CHECK(delivered == kThreads * kEach);
    for (const std::vector<int>& numbers : seen) {
        REQUIRE(numbers.size() == kEach);
        for (int i = 0; i < kEach; ++i)
            REQUIRE(numbers[std::size_t(i)] == i);
    }
}
