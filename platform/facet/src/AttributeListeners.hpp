#pragma once

#include "ListenerList.hpp"

#include <Bedrock/Guarded.hpp>
#include <Facet/AttributeName.hpp>

#include <functional>
#include <memory>

namespace Facet
{
/// The listeners of one attribute. Kept by the pointer of their class, whose end is that of the attribute; outlive it during a
/// change in which the node or a listener destroys the attribute. Main thread only.
class AttributeListeners : ListenerList<std::function<void()>>
{
    struct End
    {
        void operator()(AttributeListeners* listeners) const { listeners->end(); }
    };

public:
    using Pointer = std::unique_ptr<AttributeListeners, End>;

    [[nodiscard]] static Pointer make(AttributeName name) { return Pointer(new AttributeListeners(name)); }

    using ListenerList::add;
    using ListenerList::remove;

    /// One change of the attribute. While one lives, the listeners do.
    class Change
    {
    public:
        explicit Change(AttributeListeners& listeners) noexcept : m_listeners(listeners) { m_listeners.beginCall(); }
        Change(const Change&) = delete;
        Change& operator=(const Change&) = delete;
        ~Change()
        {
            if (m_listeners.endCall())
                m_listeners.settle();
        }
        /// Calls them, unless the attribute has ended. What one throws is logged.
        void notify()
        {
            AttributeListeners& listeners = m_listeners;
            listeners.callAll([] { return true; },
                              [&listeners](const std::function<void()>& listener) {
                                  Bedrock::guarded(listener,
                                                   [&listeners](const char* reason) { listeners.reportFailure(reason); });
                              });
        }

    private:
        AttributeListeners& m_listeners;
    };

private:
    explicit AttributeListeners(AttributeName name) : m_attributeName(name) {}
    ~AttributeListeners() = default;

    void end();
    void settle();
    void reportFailure(const char* reason) const;

    AttributeName m_attributeName;
    bool m_hasEnded = false;
};
}
