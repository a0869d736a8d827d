#pragma once

#include <Bedrock/BinaryData.hpp>
#include <Bedrock/Export.hpp>
#include <Bedrock/IntrusivePtr.hpp>
#include <Facet/AttributeList.hpp>
#include <Facet/DeclaredEvents.hpp>
#include <Facet/EventName.hpp>

#include <functional>
#include <vector>

namespace Facet
{
class Attribute;

/// Receives the attributes that a node gets. Not owned by the node.
class TAVOLA_EXPORT AttributeObserver
{
public:
    /// Called from the attribute's constructor: it has its name, but neither its type nor a value yet.
    virtual void attributeAdded(Attribute& attribute) = 0;
    /// Called after a value was set or cleared on another layer than that of style sheets, whether it shows or not, and before
    /// listeners are called. Must not change the node.
    virtual void attributeValueGiven(Attribute& attribute) = 0;
    /// Whether observers are called about values, which costs time with each change.
    static void setReceivesValues(bool on) noexcept;

protected:
    ~AttributeObserver() = default;
};

/// Something with an identity, attributes and events: base of widgets, operators and models. Main thread only, but for
/// what is marked otherwise. Does not count references: use it under IntrusivePtr (with ReferenceCounted) or shared_ptr.
///
/// Events are delivered inside `eventSend`, to the listeners in the order they registered. A listener may add and remove
/// listeners (a listener added during a send receives the next one; a removed one is not called any more), destroy other nodes,
/// and destroy the sender itself: the send then ends.
class TAVOLA_EXPORT Node
{
public:
    using ListenerId = long;
    /// The only listener type there is: called inside `eventSend`.
    static constexpr int kImmediate = 1;

    Node();
    Node(const Node&) = delete;
    Node& operator=(const Node&) = delete;
    virtual ~Node();

    /// Unique in the process, never reused, ascending.
    [[nodiscard]] long id() const noexcept { return m_id; }
    /// The next number of the counter that node ids come from. Any thread.
    [[nodiscard]] static long generateId() noexcept;

    /// Declares an event that this node sends. Declaring twice is one declaration.
    void eventAddOut(EventName name);
    /// Declared events in the order of declaration.
    [[nodiscard]] std::vector<EventName> eventsOut() const;

    /// Calls `listener` at each sending of `name`, with or without payload. Ids are unique in the process.
    ListenerId eventAddListener(EventName name, std::function<void()> listener, int type = kImmediate);
    /// As above with the payload, rewound to its first value for every listener (empty when the event carries none).
    ListenerId eventAddListenerBd(EventName name, std::function<void(Bedrock::BinaryData&)> listener, int type = kImmediate);
    /// An id that is not (or no longer) registered is ignored.
    void eventRemoveListener(ListenerId id);
    [[nodiscard]] bool eventHasListeners(EventName name) const;

    /// Sends an event that was declared; an undeclared one is a warning and is not sent.
    /// A listener that throws is logged as an error, the others still receive the event.
    void eventSend(EventName name);
    void eventSend(EventName name, Bedrock::BinaryData& payload);
    /// As above with these values (std::int32_t, std::int64_t, float, QString) as the payload, which is made only for a listener:
    /// `eventSendValues(kMarkerDown, marker.id())`. For events that are sent often and mostly to no listener.
    template <class... Values>
    void eventSendValues(EventName name, const Values&... values)
    {
        if (!isAwaited(name))
            return;
        Bedrock::BinaryData payload;
        (payload.write(values), ...);
        eventSend(name, payload);
    }

    /// Calls `listener` when this node is destroyed: by then it is a Node only, and its attributes have no host. Listeners are
    /// called in the order they registered; one that throws is logged as an error.
    ListenerId addEndListener(std::function<void()> listener);
    void removeEndListener(ListenerId id);

    /// Runs `function` on the main thread after the next update, in order of arrival. Any thread.
    static void invokeAfterUpdate(std::function<void()> function);

    /// The attribute of that name, or null. For style sheets and tools; code holds its attributes as members.
    [[nodiscard]] Attribute* attribute(const QByteArray& name) const;
    /// As above by the number of the name (AttributeName::number).
    [[nodiscard]] Attribute* attributeNumbered(int nameNumber) const;
    /// Whether it has been made: not so for one that `makeRareAttributes` has left out until now.
    [[nodiscard]] bool hasMadeAttribute(int nameNumber) const { return m_attributes.find(nameNumber) != nullptr; }
    /// All attributes in the order they were made. Makes those that `makeRareAttributes` has left out until now.
    [[nodiscard]] std::vector<Attribute*> attributes() const;
    /// The one observer of this node's attributes, for the style engine; null for none.
    void setAttributeObserver(AttributeObserver* observer) noexcept { m_attributeObserver = observer; }

protected:
    /// For `makeRareAttributes`: every attribute.
    static constexpr int kAllAttributes = 0;
    /// Makes the attributes that a class leaves out of its nodes until they are needed: those made together with the one whose
    /// name has that number, or all. Returns whether there are any such. Called when an attribute is asked for that the node
    /// does not have, so that its users see no difference. An override begins with that of its base.
    virtual bool makeRareAttributes(int nameNumber);
    /// Called after the visible value of one of this node's attributes changed, before the attribute's listeners.
    virtual void attributeChanged(Attribute& attribute);

private:
    friend class Attribute;
    struct Extras;

    /// Whether the event is declared; a warning if not.
    [[nodiscard]] bool isSendable(EventName name) const;
    void reportUndeclared(EventName name) const;
    /// As above, and whether it may have listeners.
    [[nodiscard]] bool isAwaited(EventName name) const;
    void addAttribute(Attribute& attribute);
    void removeAttribute(Attribute& attribute);
    [[nodiscard]] Extras& extras();

    long m_id;
    DeclaredEvents m_declaredEvents;
    AttributeList m_attributes;
    Bedrock::IntrusivePtr<Extras> m_extras; ///< null until the first listener or hidden value
    AttributeObserver* m_attributeObserver = nullptr;
};
}
