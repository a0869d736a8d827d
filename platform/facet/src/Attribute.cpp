#include <Facet/Attribute.hpp>

#include "AttributeExtras.hpp"
#include "NodeExtras.hpp"

#include <Bedrock/Guarded.hpp>
#include <Bedrock/Trace.hpp>
#include <Facet/Node.hpp>

#include <utility>

namespace Facet
{
using Bedrock::IntrusivePtr;

Attribute::Attribute(Node* host, unsigned declaration)
    : m_host(host), m_declaration(declaration), m_layersSet(1u << kDefaultLayer), m_hasListeners(0), m_hidesValue(0),
      m_hasOwnDefault(0)
{
    if (m_host)
        m_host->addAttribute(*this);
}

Attribute::~Attribute()
{
    if (m_hasListeners)
        extras().find(*this)->listeners->attributeIsAlive = false;
    // What a listener captured may use the node when it is destroyed: the attribute is no part of it any more by then.
    if (m_host)
        m_host->removeAttribute(*this);
    if (m_hasListeners || m_hidesValue)
        extras().remove(*this);
    AttributeDeclaration::removeUse(m_declaration);
}

AttributeExtras& Attribute::extras() const
{
    if (!m_host)
        return AttributeExtras::ofHostless();
    return m_host->m_extras ? m_host->m_extras->attributes : m_host->extras().attributes;
}

Attribute::ListenerId Attribute::addListener(std::function<void()> listener, int)
{
    auto& listeners = extras().obtain(*this).listeners;
    if (!listeners)
        listeners = IntrusivePtr<AttributeListeners>(new AttributeListeners(declaration().name()));
    m_hasListeners = 1;
    const ListenerId id = nextListenerId();
    listeners->list.add(id, std::move(listener));
    return id;
}

void Attribute::removeListener(ListenerId id)
{
    if (!m_hasListeners)
        return;
    const auto listeners = extras().find(*this)->listeners; // what the listener captured may own this attribute
    listeners->list.remove(id);
}

void* Attribute::hiddenValue() const noexcept
{
    return m_hidesValue ? extras().find(*this)->hiddenValue : nullptr;
}

void Attribute::setHiddenValue(void* value)
{
    if (value)
        extras().obtain(*this).hiddenValue = value;
    else if (m_hasListeners)
        extras().find(*this)->hiddenValue = nullptr;
    else
        extras().remove(*this);
    m_hidesValue = value ? 1 : 0;
}

bool Attribute::s_observersReceiveValues = false;

void Attribute::reportToObserver()
{
    if (m_host && m_host->m_attributeObserver)
        m_host->m_attributeObserver->attributeValueGiven(*this);
}

void Attribute::notifyChanged()
{
    if (!m_hasListeners) {
        if (m_host)
            m_host->attributeChanged(*this);
        return;
    }
    // Outlives the attribute if the node or a listener destroys it.
    const IntrusivePtr<AttributeListeners> listeners = extras().find(*this)->listeners;
    if (m_host)
        m_host->attributeChanged(*this);
    const auto failed = [&listeners](const char* reason) {
        Bedrock::Trace::error("Attribute::notifyChanged # A listener of attribute '%s' failed: %s",
                              listeners->attributeName.text().constData(), reason);
    };
    listeners->list.forEach([&listeners] { return listeners->attributeIsAlive; },
                            [&failed](const std::function<void()>& listener) { Bedrock::guarded(listener, failed); });
}
}
