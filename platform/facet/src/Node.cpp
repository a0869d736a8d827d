#include <Facet/Node.hpp>

#include "ListenerList.hpp"

#include <Bedrock/AfterUpdateQueue.hpp>
#include <Bedrock/Guarded.hpp>
#include <Bedrock/Trace.hpp>
#include <Facet/Attribute.hpp>
#include <Facet/NameTable.hpp>

#include <algorithm>
#include <atomic>
#include <utility>

namespace Facet
{
namespace
{
std::atomic<long> g_lastNodeId{0};
std::atomic<long> g_lastListenerId{0};
}

long nextListenerId() noexcept
{
    return ++g_lastListenerId;
}

struct Node::Events
{
    struct Callback
    {
        std::function<void()> plain;
        std::function<void(Bedrock::BinaryData&)> withPayload;
    };
    /// One event of the node: declared, listened to, or both.
    struct Channel
    {
        EventName name;
        bool isDeclared = false;
        ListenerList<Callback> listeners;
    };

    bool nodeIsAlive = true;
    /// Channels keep their address while a listener makes new ones.
    std::vector<std::unique_ptr<Channel>> channels;
    std::vector<EventName> declared;
    ListenerList<std::function<void()>> endListeners;

    [[nodiscard]] Channel* find(EventName name) const
    {
        for (const auto& channel : channels)
            if (channel->name == name)
                return channel.get();
        return nullptr;
    }
    Channel& channel(EventName name)
    {
        if (Channel* found = find(name))
            return *found;
        channels.push_back(std::make_unique<Channel>(Channel{name, false, {}}));
        return *channels.back();
    }

    static Events& of(std::shared_ptr<Events>& events)
    {
        if (!events)
            events = std::make_shared<Events>();
        return *events;
    }
};

Node::Node() : m_id(generateId()) {}

Node::~Node()
{
    if (m_events)
        m_events->nodeIsAlive = false;
    // Attributes owned by a base that is destroyed later must not look for their node.
    for (Attribute* attribute : m_attributes)
        attribute->m_host = nullptr;
    if (!m_events)
        return;
    const auto failed = [this](const char* reason) {
        Bedrock::Trace::error("Node::~Node # A listener of the end of node %ld failed: %s", m_id, reason);
    };
    m_events->endListeners.forEach([] { return true; },
                                   [&](const std::function<void()>& listener) { Bedrock::guarded(listener, failed); });
}

long Node::generateId() noexcept
{
    return ++g_lastNodeId;
}

void Node::eventAddOut(EventName name)
{
    auto& events = Events::of(m_events);
    auto& channel = events.channel(name);
    if (channel.isDeclared)
        return;
    channel.isDeclared = true;
    events.declared.push_back(name);
}

std::vector<EventName> Node::eventsOut() const
{
    return m_events ? m_events->declared : std::vector<EventName>();
}

Node::ListenerId Node::eventAddListener(EventName name, std::function<void()> listener, int)
{
    const ListenerId id = nextListenerId();
    Events::of(m_events).channel(name).listeners.add(id, {std::move(listener), nullptr});
    return id;
}

Node::ListenerId Node::eventAddListenerBd(EventName name, std::function<void(Bedrock::BinaryData&)> listener, int)
{
    const ListenerId id = nextListenerId();
    Events::of(m_events).channel(name).listeners.add(id, {nullptr, std::move(listener)});
    return id;
}

void Node::eventRemoveListener(ListenerId id)
{
    if (!m_events)
        return;
    const auto events = m_events; // what the listener captured may own this node
    for (const auto& channel : events->channels)
        if (channel->listeners.remove(id))
            return;
}

bool Node::eventHasListeners(EventName name) const
{
    const Events::Channel* channel = m_events ? m_events->find(name) : nullptr;
    return channel && !channel->listeners.isEmpty();
}

void Node::eventSend(EventName name)
{
    Bedrock::BinaryData nothing;
    eventSend(name, nothing);
}

void Node::eventSend(EventName name, Bedrock::BinaryData& payload)
{
    const long node = m_id;
    const auto events = m_events; // outlives the node if a listener destroys it
    Events::Channel* channel = events ? events->find(name) : nullptr;
    if (!channel || !channel->isDeclared) {
        Bedrock::Trace::warning("Node::eventSend # Event '%s' is not declared by node %ld", name.text().constData(), node);
        return;
    }
    const auto call = [&](Events::Callback& callback) {
        if (callback.plain) {
            callback.plain();
        } else if (callback.withPayload) {
            payload.rewind();
            callback.withPayload(payload);
        }
    };
    const auto failed = [&](const char* reason) {
        Bedrock::Trace::error("Node::eventSend # A listener of event '%s' of node %ld failed: %s", name.text().constData(), node,
                              reason);
    };
    channel->listeners.forEach([&events] { return events->nodeIsAlive; },
                               [&](Events::Callback& callback) { Bedrock::guarded([&] { call(callback); }, failed); });
    payload.rewind();
}

void Node::invokeAfterUpdate(std::function<void()> function)
{
    Bedrock::AfterUpdateQueue::instance().add(std::move(function));
}

Node::ListenerId Node::addEndListener(std::function<void()> listener)
{
    const ListenerId id = nextListenerId();
    Events::of(m_events).endListeners.add(id, std::move(listener));
    return id;
}

void Node::removeEndListener(ListenerId id)
{
    if (m_events)
        m_events->endListeners.remove(id);
}

Attribute* Node::attribute(const QByteArray& name) const
{
    const int number = NameTable::instance().findNumber(name);
    return number == 0 ? nullptr : attributeNumbered(number);
}

Attribute* Node::attributeNumbered(int nameNumber) const
{
    for (Attribute* attribute : m_attributes)
        if (attribute->nameNumber() == nameNumber)
            return attribute;
    return nullptr;
}

void Node::attributeChanged(Attribute&) {}

void Node::addAttribute(Attribute& attribute)
{
    m_attributes.push_back(&attribute);
    if (m_attributeObserver)
        m_attributeObserver->attributeAdded(attribute);
}

void Node::removeAttribute(Attribute& attribute)
{
    m_attributes.erase(std::remove(m_attributes.begin(), m_attributes.end(), &attribute), m_attributes.end());
}
}
