#include <Bedrock/Arrivals.hpp>

#include <Bedrock/AfterUpdateQueue.hpp>
#include <Bedrock/BGThread.hpp>
#include <Bedrock/FunctionTask.hpp>
#include <LogCapture.hpp>

#include <doctest/doctest.h>

#include <algorithm>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

using Bedrock::AfterUpdateQueue;
using Bedrock::Arrivals;

namespace
{
constexpr std::chrono::milliseconds kPatience(10000);

/// A thread's worth of work.
template <class Function>
void elsewhere(Function function)
{
    std::thread(function).join();
}

std::string tell(const std::vector<Arrivals::Arrival>& taken)
{
    std::string text;
    for (const auto& arrival : taken)
        text += std::string(1, arrival.kind) + std::to_string(arrival.ticket) + "." + std::to_string(arrival.part) + " ";
    return text;
}
}

TEST_CASE("arrivals: while nothing is recorded results go on at once, on the thread that has them")
{
    Arrivals arrivals;
    CHECK(arrivals.begin('i') == 0);
    std::thread::id thread;
    elsewhere([&] { arrivals.deliver(0, [&] { thread = std::this_thread::get_id(); }); });
    CHECK(thread != std::thread::id());
    CHECK(thread != std::this_thread::get_id());
    QByteArray answer;
    const auto ticket = arrivals.ask('j', [&](const QByteArray& bytes) { answer = bytes; });
    arrivals.answer(ticket, "yes");
    CHECK(answer == "yes");
    arrivals.answer(ticket, "no");
    CHECK(answer == "yes");
    CHECK(arrivals.admit() == 0);
    CHECK_FALSE(arrivals.isWaiting());
}

TEST_CASE("arrivals: in a recording results wait for the next frame, which tells what it took")
{
    Arrivals arrivals;
    std::vector<Arrivals::Arrival> taken;
    arrivals.startRecording([&](const auto& arrival) { taken.push_back(arrival); });
    const auto picture = arrivals.begin('i');
    const auto page = arrivals.begin('p');
    QByteArray answer;
    const auto question = arrivals.ask('j', [&](const QByteArray& bytes) { answer = bytes; });
    std::string order;
    elsewhere([&] {
        CHECK(arrivals.begin('i') == 0); // not on the main thread
        arrivals.deliver(page, [&] { order += "page "; });
        arrivals.deliver(picture, [&] { order += "picture "; });
        arrivals.deliver(picture, [&] {
            order += "again ";
            arrivals.deliver(page, [&] { order += "late "; });
        });
    });
    arrivals.answer(question, "{}");
    CHECK(order.empty());
    CHECK(answer.isEmpty());
    CHECK(arrivals.isWaiting());
    CHECK(arrivals.admit() == 4);
    CHECK(order == "page picture again ");
    CHECK(answer == "{}");
    CHECK(tell(taken) == "p2.0 i1.0 i1.1 j3.0 ");
    CHECK(taken[3].answer == "{}");
    CHECK(taken[0].answer.isNull());
    CHECK(arrivals.admit() == 1);
    CHECK(order == "page picture again late ");
    CHECK(tell(taken) == "p2.0 i1.0 i1.1 j3.0 p2.1 ");
}

TEST_CASE("arrivals: a replay takes in each frame what was recorded, in that order, however results come")
{
    Arrivals arrivals;
    arrivals.startReplaying();
    CHECK(arrivals.isReplaying());
    const auto first = arrivals.begin('i');
    const auto second = arrivals.begin('i');
    std::string order;
    const auto question = arrivals.ask('j', [&](const QByteArray& bytes) { order += bytes.toStdString(); });
    arrivals.deliver(first, [&] { order += "first "; });
    arrivals.expect({});
    CHECK(arrivals.waitForExpected(kPatience));
    CHECK(arrivals.admit() == 0);

    arrivals.expect({{second, 0, 'i', {}}, {question, 0, 'j', "answer "}});
    CHECK_FALSE(arrivals.waitForExpected(std::chrono::milliseconds(0)));
    std::thread worker([&] { arrivals.deliver(second, [&] { order += "second "; }); });
    CHECK(arrivals.waitForExpected(kPatience));
    worker.join();
    CHECK(arrivals.admit() == 2);
    CHECK(order == "second answer ");
    arrivals.expect({{first, 0, 'i', {}}});
    CHECK(arrivals.waitForExpected(kPatience));
    CHECK(arrivals.admit() == 1);
    CHECK(order == "second answer first ");
}

TEST_CASE("arrivals: a replay does not wait for what cannot come, and says once that it goes another way")
{
    Arrivals arrivals;
    arrivals.startReplaying();
    const auto ticket = arrivals.begin('i');
    // Work that had a result on the day and has none now was given up meanwhile, which is no difference.
    arrivals.ended(ticket);
    arrivals.expect({{ticket, 0, 'i', {}}});
    CHECK(arrivals.waitForExpected(kPatience));
    CHECK(arrivals.admit() == 0);
    for (const Arrivals::Arrival& wrong : {Arrivals::Arrival{9, 0, 'i', {}}, Arrivals::Arrival{8, 0, 'j', "never asked"}}) {
        if (wrong.ticket == 9)
            TestSupport::expectWarningStartingWith("Arrivals # The replay goes another way than what was recorded");
        arrivals.expect({wrong});
        CHECK(arrivals.waitForExpected(kPatience));
        CHECK(arrivals.admit() == 0);
    }
}

TEST_CASE("arrivals: a function that throws is logged and the others still run")
{
    Arrivals arrivals;
    arrivals.startRecording({});
    int ran = 0;
    arrivals.deliver(arrivals.begin('i'), [] { throw std::runtime_error("no more paper"); });
    arrivals.deliver(arrivals.begin('i'), [&] { ++ran; });
    TestSupport::expectError("Arrivals::admit # A function failed, the others go on (no more paper)");
    CHECK(arrivals.admit() == 2);
    CHECK(ran == 1);
}

TEST_CASE("arrivals: stop drops what is held and asked, and whatever that asks or delivers")
{
    Arrivals arrivals;
    arrivals.startRecording({});
    auto holder = std::shared_ptr<int>(new int(0), [&](const int* number) {
        delete number;
        arrivals.deliver(7, [] {});
    });
    bool isAnswered = false;
    const auto question = arrivals.ask('j', [&isAnswered, holder](const QByteArray&) { isAnswered = true; });
    arrivals.deliver(arrivals.begin('i'), [holder] {});
    const std::weak_ptr<int> weak = holder;
    holder.reset();
    arrivals.stop();
    CHECK(weak.expired());
    CHECK_FALSE(arrivals.isWaiting());
    arrivals.answer(question, "late");
    CHECK_FALSE(isAnswered);
    CHECK(arrivals.begin('i') == 0);
}

TEST_CASE("arrivals: what a background task queues for the after-update belongs to its ticket")
{
    auto& arrivals = Arrivals::instance();
    auto& queue = AfterUpdateQueue::instance();
    std::vector<Arrivals::Arrival> taken;
    arrivals.startRecording([&](const auto& arrival) { taken.push_back(arrival); });
    std::string order;
    Bedrock::BGThread thread;
    for (const char* name : {"a", "b"})
        thread.addTask(std::make_shared<Bedrock::FunctionTask>([&, name](Bedrock::Task& task) {
            task.setFinished();
            queue.add([&order, name] { order += name; });
            queue.add([&order] { order += "+"; });
        }));
    thread.waitUntilIdle();
    CHECK(queue.isEmpty());
    queue.add([&order] { order += "main "; });
    CHECK(arrivals.admit() == 4);
    CHECK(tell(taken) == "t1.0 t1.1 t2.0 t2.1 ");
    CHECK(queue.drain() == 5);
    CHECK(order == "main a+b+");
    arrivals.stop();
}
