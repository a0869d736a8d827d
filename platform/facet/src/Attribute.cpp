#include <Facet/Attribute.hpp>

#include "AttributeExtras.hpp"
#include "NodeExtras.hpp"

#include <Facet/Node.hpp>

#include <utility>

namespace Facet
{
Attribute::Attribute(Node* host, unsigned declaration)
    : m_host(host), m_declaration(declaration), m_layersSet(1u << kDefaultLayer), m_hasListeners(0), m_hidesValue(0),
      m_hasOwnDefault(0)
{
    if (m_host)
        m_host->addAttribute(*this);
}

Attribute::~Attribute()
{
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
        listeners = AttributeListeners::make(declaration().name());
    m_hasListeners = 1;
    const ListenerId id = nextListenerId();
    listeners->add(id, std::move(listener));
    return id;
}

void Attribute::removeListener(ListenerId id)
{
    if (m_hasListeners)
        extras().entry(*this).listeners->remove(id); // what the listener captured may own this attribute
}

void* Attribute::hiddenValue() const noexcept
{
    return m_hidesValue ? extras().entry(*this).hiddenValue : nullptr;
}

void Attribute::setHiddenValue(void* value)
{
    if (value)
        extras().obtain(*this).hiddenValue = value;
    else if (m_hasListeners)
        extras().entry(*this).hiddenValue = nullptr;
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
    // What has listeners has an entry.
    AttributeExtras& extras = m_host ? m_host->m_extras->attributes : AttributeExtras::ofHostless();
    // The node or a listener may destroy the attribute.
    AttributeListeners::Change change(*extras.entry(*this).listeners);
    if (m_host)
        m_host->attributeChanged(*this);
    change.notify();
}
}
