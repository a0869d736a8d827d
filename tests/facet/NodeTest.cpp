#include "AllocationCounter.hpp"
#include "LogCapture.hpp"

#include <doctest/doctest.h>

#include <Bedrock/AfterUpdateQueue.hpp>
#include <Facet/AttributeT.hpp>
#include <Facet/Node.hpp>

#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

using Bedrock::BinaryData;
using Facet::EventName;
using Facet::Node;

TEST_CASE("node: ids ascend, are never reused and share their counter with generateId")
{
    const long first = Node().id();
    const long between = Node::generateId();
    const long second = Node().id();
    CHECK(first < between);
    CHECK(between < second);
}

TEST_CASE("node: generateId gives each caller another number, on any thread")
{
    std::vector<long> mine;
    std::vector<long> theirs;
    std::thread other([&theirs] {
        for (int i = 0; i < 1000; ++i)
            theirs.push_back(Node::generateId());
    });
    for (int i = 0; i < 1000; ++i)
        mine.push_back(Node::generateId());
    other.join();
    std::set<long> all(mine.begin(), mine.end());
    all.insert(theirs.begin(), theirs.end());
    CHECK(all.size() == 2000);
}

TEST_CASE("node: declared events keep the order of declaration, and a second declaration changes nothing")
{
    Node node;
    node.eventAddOut("b");
    node.eventAddOut("a");
    node.eventAddOut("b");
    REQUIRE(node.eventsOut().size() == 2);
    CHECK(node.eventsOut()[0] == EventName("b"));
    CHECK(node.eventsOut()[1] == EventName("a"));
}

TEST_CASE("node: an event that was not declared is a warning and is not sent")
{
    Node node;
    bool heard = false;
    node.eventAddListener("typo", [&heard] { heard = true; });
    TestSupport::expectWarning("Node::eventSend # Event 'typo' is not declared by node " + std::to_string(node.id()));
    node.eventSend("typo");
    CHECK_FALSE(heard);
}

TEST_CASE("node: listeners are called inside the sending, in the order of registration, with or without payload")
{
    Node node;
    node.eventAddOut("e");
    std::string calls;
    node.eventAddListener("e", [&calls] { calls += 'a'; });
    node.eventAddListenerBd("e", [&calls](BinaryData& data) { calls += data.isAtEnd() ? 'b' : '?'; });
    node.eventAddListener("e", [&calls] { calls += 'c'; });
    node.eventSend("e");
    CHECK(calls == "abc");
}

TEST_CASE("node: every listener reads the payload from its first value, also after one that read the wrong type")
{
    Node node;
    node.eventAddOut("e");
    std::vector<std::int64_t> read;
    node.eventAddListenerBd("e", [](BinaryData& data) {
        CHECK(data.readString().isEmpty());
        CHECK(data.hasFailed());
    });
    for (int i = 0; i < 2; ++i) {
        node.eventAddListenerBd("e", [&read](BinaryData& data) {
            read.push_back(data.readInt64());
            CHECK_FALSE(data.hasFailed());
        });
    }
    BinaryData payload;
    payload.writeInt64(7);
    node.eventSend("e", payload);
    CHECK(read == std::vector<std::int64_t>{7, 7});
    CHECK(payload.readInt64() == 7);
}

TEST_CASE("node: a listener added while an event is sent receives the next one")
{
    Node node;
    node.eventAddOut("e");
    int late = 0;
    bool added = false;
    node.eventAddListener("e", [&] {
        if (!std::exchange(added, true))
            for (int i = 0; i < 50; ++i) // enough to move any storage
                node.eventAddListener("e", [&late] { ++late; });
    });
    node.eventSend("e");
    CHECK(late == 0);
    node.eventSend("e");
    CHECK(late == 50);
}

TEST_CASE("node: a listener removed while an event is sent is not called any more, one that removes itself finishes its call")
{
    Node node;
    node.eventAddOut("e");
    std::string calls;
    Node::ListenerId self = 0;
    Node::ListenerId next = 0;
    const auto token = std::make_shared<int>(1);
    self = node.eventAddListener("e", [&, token] {
        node.eventRemoveListener(self);
        node.eventRemoveListener(next);
        calls += *token == 1 ? 'a' : '?'; // what was captured is still there
    });
    next = node.eventAddListener("e", [&calls] { calls += 'b'; });
    node.eventAddListener("e", [&calls] { calls += 'c'; });
    node.eventSend("e");
    node.eventSend("e");
    CHECK(calls == "acc");
    CHECK(token.use_count() == 1);
}

TEST_CASE("node: a listener may destroy the sender, and the sending ends there")
{
    auto node = std::make_unique<Node>();
    node->eventAddOut("e");
    std::string calls;
    node->eventAddListener("e", [&] {
        calls += 'a';
        node.reset();
        calls += 'b';
    });
    node->eventAddListener("e", [&calls] { calls += 'c'; });
    node->eventSend("e");
    CHECK(calls == "ab");
}

TEST_CASE("node: a listener may destroy another node that is in the middle of sending")
{
    auto inner = std::make_unique<Node>();
    auto outer = std::make_unique<Node>();
    inner->eventAddOut("e");
    outer->eventAddOut("e");
    std::string calls;
    outer->eventAddListener("e", [&] { inner->eventSend("e"); });
    outer->eventAddListener("e", [&calls] { calls += "outer"; });
    inner->eventAddListener("e", [&] { outer.reset(); });
    inner->eventAddListener("e", [&calls] { calls += "inner"; });
    outer->eventSend("e");
    CHECK(calls == "inner");
}

TEST_CASE("node: a listener that owns its node lets it go when it is removed")
{
    auto node = std::make_shared<Node>();
    std::weak_ptr<Node> weak = node;
    node->eventAddOut("e");
    const auto id = node->eventAddListener("e", [node] {});
    Node* raw = node.get();
    node.reset();
    CHECK_FALSE(weak.expired());
    raw->eventRemoveListener(id);
    CHECK(weak.expired());
}

TEST_CASE("node: an event may be sent again from its own listener")
{
    Node node;
    node.eventAddOut("e");
    int depth = 0;
    std::string calls;
    node.eventAddListener("e", [&] {
        calls += 'a';
        if (++depth == 1)
            node.eventSend("e");
    });
    node.eventAddListener("e", [&calls] { calls += 'b'; });
    node.eventSend("e");
    CHECK(calls == "aabb");
}

TEST_CASE("node: a listener that throws is logged and the others still receive the event")
{
    Node node;
    node.eventAddOut("e");
    bool heard = false;
    node.eventAddListener("e", [] { throw std::runtime_error("no card"); });
    node.eventAddListener("e", [] { throw 5; });
    node.eventAddListener("e", [&heard] { heard = true; });
    const std::string start = "Node::eventSend # A listener of event 'e' of node " + std::to_string(node.id()) + " failed: ";
    TestSupport::expectError(start + "no card");
    TestSupport::expectError(start + "unknown exception");
    node.eventSend("e");
    CHECK(heard);
}

TEST_CASE("node: removing an unknown id is silent, also one of another node")
{
    Node node;
    Node other;
    node.eventRemoveListener(12345678);
    node.eventAddOut("e");
    int heard = 0;
    node.eventAddListener("e", [&heard] { ++heard; });
    const auto id = other.eventAddListener("e", [] {});
    node.eventRemoveListener(id);
    node.eventSend("e");
    CHECK(heard == 1);
}

TEST_CASE("node: tells whether there are listeners")
{
    Node node;
    CHECK_FALSE(node.eventHasListeners("e"));
    node.eventAddOut("e");
    CHECK_FALSE(node.eventHasListeners("e"));
    const auto id = node.eventAddListener("e", [] {});
    CHECK(node.eventHasListeners("e"));
    CHECK_FALSE(node.eventHasListeners("f"));
    node.eventRemoveListener(id);
    CHECK_FALSE(node.eventHasListeners("e"));
}

TEST_CASE("node: sending allocates nothing once listeners are in place")
{
    Node node;
    node.eventAddOut("moved");
    long sum = 0;
    node.eventAddListener("moved", [&sum] { ++sum; });
    node.eventAddListenerBd("moved", [&sum](BinaryData& data) { sum += data.readInt32(); });
    const auto send = [&node] {
        BinaryData payload;
        payload.writeInt32(2);
        payload.writeFloat32(0.5f);
        node.eventSend("moved", payload);
        node.eventSend("moved");
    };
    send();
    const long before = FacetTest::allocations();
    for (int i = 0; i < 100; ++i)
        send();
    CHECK(FacetTest::allocations() == before);
    CHECK(sum == 101 * 4);
    // The counter itself works.
    const auto something = std::make_unique<long>(sum);
    CHECK(FacetTest::allocations() == before + 1);
}

TEST_CASE("node: values that are sent without a payload reach listeners as one, in their order")
{
    Node node;
    node.eventAddOut("moved");
    std::vector<std::string> received;
    node.eventAddListenerBd("moved", [&received](BinaryData& data) {
        received.push_back(std::to_string(data.readInt64()));
        received.push_back(std::to_string(data.readInt32()));
        received.push_back(std::to_string(data.readFloat32()));
        received.push_back(data.readString().toStdString());
        CHECK_FALSE(data.hasFailed());
        CHECK(data.isAtEnd());
    });
    node.eventSendValues("moved", std::int64_t(7), std::int32_t(8), 0.5f, QStringLiteral("nine"));
    CHECK(received == std::vector<std::string>{"7", "8", "0.500000", "nine"});
    TestSupport::expectWarning("Node::eventSend # Event 'gone' is not declared by node " + std::to_string(node.id()));
    node.eventSendValues("gone", 1.f);
}

namespace
{
/// A number that counts how often it is written.
struct WatchedNumber
{
    int& written;
    operator std::int32_t() const { return ++written; }
};
}

TEST_CASE("node: no payload is made of values that no listener awaits")
{
    Node node;
    node.eventAddOut("named");
    node.eventAddListener("other", [] {});
    int written = 0;
    node.eventSendValues("named", WatchedNumber{written});
    CHECK(written == 0);
    node.eventAddListener("named", [] {});
    node.eventSendValues("named", WatchedNumber{written});
    CHECK(written == 1);
}

TEST_CASE("node: what listeners took in memory goes with the last of them")
{
    static const EventName kFirst("first");
    static const EventName kSecond("second");
    Node node;
    node.eventAddOut(kFirst);
    node.eventAddOut(kSecond);
    const long before = FacetTest::bytesInUse();
    for (int i = 0; i < 10; ++i) {
        const auto first = node.eventAddListener(kFirst, [] {});
        const auto second = node.eventAddListener(kSecond, [] {});
        node.eventRemoveListener(first);
        CHECK(node.eventHasListeners(kSecond));
        node.eventRemoveListener(second);
        CHECK(FacetTest::bytesInUse() == before);
    }
}

TEST_CASE("node: a listener may remove itself and the others, and add new ones, which the next sending reaches")
{
    Node node;
    node.eventAddOut("a");
    node.eventAddOut("b");
    int calls = 0;
    std::vector<Node::ListenerId> ids;
    ids.push_back(node.eventAddListener("b", [] {}));
    ids.push_back(node.eventAddListener("a", [&] {
        for (const auto id : ids)
            node.eventRemoveListener(id);
        node.eventAddListener("a", [&calls] { ++calls; });
    }));
    node.eventSend("a");
    CHECK(calls == 0);
    node.eventSend("a");
    CHECK(calls == 1);
    CHECK_FALSE(node.eventHasListeners("b"));
}

TEST_CASE("node: what is invoked after the update waits for it")
{
    Bedrock::AfterUpdateQueue::instance().clear();
    bool ran = false;
    Node::invokeAfterUpdate([&ran] { ran = true; });
    CHECK_FALSE(ran);
    Bedrock::AfterUpdateQueue::instance().drain();
    CHECK(ran);
}

TEST_CASE("node: finds its attributes by name and lists them in the order they were made")
{
    Node node;
    Facet::AttributeT<float> width(&node, "width");
    auto height = std::make_unique<Facet::AttributeT<float>>(&node, "height");
    CHECK(node.attribute("width") == &width);
    CHECK(node.attribute("height") == height.get());
    CHECK(node.attribute("depth") == nullptr);
    REQUIRE(node.attributes().size() == 2);
    CHECK(node.attributes()[1] == height.get());
    height.reset();
    CHECK(node.attribute("height") == nullptr);
    CHECK(node.attributes().size() == 1);
}

TEST_CASE("node: finds attributes by names that are alike, and one whose name was unknown before")
{
    Node node;
    CHECK(node.attribute("wider-than-known") == nullptr);
    Facet::AttributeT<float> width(&node, "width");
    Facet::AttributeT<float> wedge(&node, "wedge");
    Facet::AttributeT<float> wider(&node, "wider-than-known");
    for (int i = 0; i < 3; ++i) {
        CHECK(node.attribute("width") == &width);
        CHECK(node.attribute("wedge") == &wedge);
        CHECK(node.attribute("wodge") == nullptr);
        CHECK(node.attribute(QByteArray("wider-than") + "-known") == &wider);
        CHECK(node.attribute(QByteArray()) == nullptr);
    }
}

TEST_CASE("node: finds an attribute by the number of its name")
{
    Node node;
    Facet::AttributeT<float> width(&node, "width");
    CHECK(node.attributeNumbered(width.nameNumber()) == &width);
    CHECK(node.attributeNumbered(Facet::AttributeName("depth").number()) == nullptr);
}

TEST_CASE("node: its end is reported to all that asked for it, once, when its attributes have no host any more")
{
    std::string calls;
    auto node = std::make_unique<Node>();
    Facet::AttributeT<float> width(node.get(), "width");
    node->addEndListener([&] { calls += width.host() ? "host " : "a "; });
    const auto removed = node->addEndListener([&] { calls += "removed "; });
    node->addEndListener([] { throw std::runtime_error("no card"); });
    node->addEndListener([&] { calls += "b "; });
    node->removeEndListener(removed);
    CHECK(calls.empty());
    TestSupport::expectError("Node::~Node # A listener of the end of node " + std::to_string(node->id()) + " failed: no card");
    node.reset();
    CHECK(calls == "a b ");
}

TEST_CASE("node: a listener to an event may end the node, which is reported inside the event")
{
    std::string calls;
    auto node = std::make_unique<Node>();
    node->eventAddOut("e");
    node->eventAddListener("e", [&] {
        node.reset();
        calls += "event ";
    });
    node->addEndListener([&] { calls += "end "; });
    node->eventSend("e");
    CHECK(calls == "end event ");
}

TEST_CASE("node: the observer of its attributes receives each one that is added later")
{
    struct Observer final : Facet::AttributeObserver
    {
        void attributeAdded(Facet::Attribute& attribute) override { names += attribute.name(); }
        void attributeValueGiven(Facet::Attribute&) override {}
        QByteArray names;
    };
    Node node;
    Observer observer;
    Facet::AttributeT<float> width(&node, "width");
    node.setAttributeObserver(&observer);
    Facet::AttributeT<float> height(&node, "height");
    node.setAttributeObserver(nullptr);
    Facet::AttributeT<float> depth(&node, "depth");
    CHECK(observer.names == "height");
}

TEST_CASE("node: the observer of its attributes receives values that are given, whether they show or not, when it wants them")
{
    struct Observer final : Facet::AttributeObserver
    {
        void attributeAdded(Facet::Attribute&) override {}
        void attributeValueGiven(Facet::Attribute& attribute) override { texts += attribute.givenText() + QLatin1Char(' '); }
        QString texts;
    };
    Node node;
    Observer observer;
    Facet::AttributeT<float> width(&node, "width", 1.f);
    node.setAttributeObserver(&observer);
    width.setValue(7.f);
    CHECK(observer.texts.isEmpty());
    Facet::AttributeObserver::setReceivesValues(true);
    width.clearValue(Facet::kUserLayer);
    width.setValue(5.f, Facet::kStyleLayer); // is not given, but styled
    width.setValue(2.f, Facet::kDefaultLayer);
    width.setValue(5.f);
    width.setValue(5.f);
    width.clearValue(Facet::kStyleLayer);
    width.clearValue(Facet::kUserLayer);
    Facet::AttributeObserver::setReceivesValues(false);
    width.setValue(9.f);
    CHECK(observer.texts == QStringLiteral("1 2 5 2 "));
    node.setAttributeObserver(nullptr);
}
