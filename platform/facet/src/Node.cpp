#include <Facet/Node.hpp>

#include "EventSet.hpp"
#include "NodeExtras.hpp"

#include <Bedrock/AfterUpdateQueue.hpp>
#include <Bedrock/Guarded.hpp>
#include <Bedrock/Trace.hpp>
#include <Facet/Attribute.hpp>
#include <Facet/NameTable.hpp>

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

Node::Node() : m_id(generateId()) {}

Node::~Node()
{
    if (m_extras)
        m_extras->nodeIsAlive = false;
    // Attributes owned by a base that is destroyed later must not look for their node.
    for (Attribute* attribute : m_attributes.all())
        attribute->m_host = nullptr;
    if (!m_extras)
        return;
    AttributeExtras::ofHostless().add(std::move(m_extras->attributes));
    const auto failed = [this](const char* reason) {
        Bedrock::Trace::error("Node::~Node # A listener of the end of node %ld failed: %s", m_id, reason);
    };
    m_extras->endListeners.forEach([] { return true; },
                                   [&](const std::function<void()>& listener) { Bedrock::guarded(listener, failed); });
}

Node::Extras& Node::extras()
{
    if (!m_extras)
        m_extras = Bedrock::IntrusivePtr<Extras>(new Extras);
    return *m_extras;
}

long Node::generateId() noexcept
{
    return ++g_lastNodeId;
}

void Node::eventAddOut(EventName name)
{
    m_declaredEvents.add(name);
}

std::vector<EventName> Node::eventsOut() const
{
    return m_declaredEvents.all();
}

Node::ListenerId Node::eventAddListener(EventName name, std::function<void()> listener, int)
{
    const ListenerId id = nextListenerId();
    extras().obtain(name).listeners.add(id, {std::move(listener), nullptr});
    return id;
}

Node::ListenerId Node::eventAddListenerBd(EventName name, std::function<void(Bedrock::BinaryData&)> listener, int)
{
    const ListenerId id = nextListenerId();
    extras().obtain(name).listeners.add(id, {nullptr, std::move(listener)});
    return id;
}

void Node::eventRemoveListener(ListenerId id)
{
    if (!m_extras)
        return;
    const auto extras = m_extras; // what the listener captured may own this node
    for (const auto& channel : extras->channels) {
        if (!channel->listeners.remove(id))
            continue;
        // This node may be gone with what the listener captured.
        extras->dropUnusedChannels();
        if (extras->nodeIsAlive && extras->isUnused())
            m_extras = {};
        return;
    }
}

bool Node::eventHasListeners(EventName name) const
{
    const Extras::Channel* const channel = m_extras ? m_extras->find(name) : nullptr;
    return channel && !channel->listeners.isEmpty();
}

void Node::eventSend(EventName name)
{
    if (!isSendable(name) || !m_extras)
        return;
    if (Extras::Channel* const channel = m_extras->find(name)) {
        Bedrock::BinaryData nothing;
        m_extras->deliver(*channel, m_id, nothing);
    }
}

void Node::eventSend(EventName name, Bedrock::BinaryData& payload)
{
    if (!isSendable(name))
        return;
    if (Extras::Channel* const channel = m_extras ? m_extras->find(name) : nullptr)
        m_extras->deliver(*channel, m_id, payload);
    payload.rewind();
}

bool Node::isSendable(EventName name) const
{
    const bool isDeclared = m_declaredEvents.set().contains(name);
    if (!isDeclared)
        reportUndeclared(name);
    return isDeclared;
}

void Node::reportUndeclared(EventName name) const
{
    Bedrock::Trace::warning("Node::eventSend # Event '%s' is not declared by node %ld", name.text().constData(), m_id);
}

bool Node::isAwaited(EventName name) const
{
    if (m_declaredEvents.set().contains(name))
        return m_extras && m_extras->find(name);
    reportUndeclared(name);
    return false;
}

void Node::Extras::deliver(Channel& channel, long node, Bedrock::BinaryData& payload)
{
    const Bedrock::IntrusivePtr<Extras> keep(this); // outlives the node if a listener destroys it
    const auto call = [&](Callback& callback) {
        if (callback.plain) {
            callback.plain();
        } else if (callback.withPayload) {
            payload.rewind();
            callback.withPayload(payload);
        }
    };
    const auto failed = [&](const char* reason) {
        Bedrock::Trace::error("Node::eventSend # A listener of event '%s' of node %ld failed: %s",
                              channel.name.text().constData(), node, reason);
    };
    channel.listeners.forEach([this] { return nodeIsAlive; },
                              [&](Callback& callback) { Bedrock::guarded([&] { call(callback); }, failed); });
}

void Node::invokeAfterUpdate(std::function<void()> function)
{
    Bedrock::AfterUpdateQueue::instance().add(std::move(function));
}

Node::ListenerId Node::addEndListener(std::function<void()> listener)
{
    const ListenerId id = nextListenerId();
    extras().endListeners.add(id, std::move(listener));
    return id;
}

void Node::removeEndListener(ListenerId id)
{
    if (m_extras)
        m_extras->endListeners.remove(id);
}

Attribute* Node::attribute(const QByteArray& name) const
{
    const int number = NameTable::instance().findNumber(name);
    return number == 0 ? nullptr : attributeNumbered(number);
}

Attribute* Node::attributeNumbered(int nameNumber) const
{
    if (Attribute* const found = m_attributes.find(nameNumber))
        return found;
    // To its users the node always had the attribute.
    return const_cast<Node*>(this)->makeRareAttributes(nameNumber) ? m_attributes.find(nameNumber) : nullptr;
}

std::vector<Attribute*> Node::attributes() const
{
    (void)const_cast<Node*>(this)->makeRareAttributes(kAllAttributes);
    return m_attributes.all();
}

bool Node::makeRareAttributes(int)
{
    return false;
}

void Node::attributeChanged(Attribute&) {}

void AttributeObserver::setReceivesValues(bool on) noexcept
{
    Attribute::s_observersReceiveValues = on;
}

void Node::addAttribute(Attribute& attribute)
{
    m_attributes.add(attribute);
    if (m_attributeObserver)
        m_attributeObserver->attributeAdded(attribute);
}

void Node::removeAttribute(Attribute& attribute)
{
    m_attributes.remove(attribute);
}
}
