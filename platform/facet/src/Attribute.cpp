#include <Facet/Attribute.hpp>

#include "ListenerList.hpp"

#include <Bedrock/Guarded.hpp>
#include <Bedrock/Trace.hpp>
#include <Facet/Node.hpp>

#include <utility>
#include <vector>

namespace Facet
{
namespace
{
/// By number of the name: whether an attribute has had it.
std::vector<bool>& usedNames()
{
    // Never destroyed: attributes of static objects are made and destroyed late.
    static std::vector<bool>& used = *new std::vector<bool>;
    return used;
}

void markUsed(AttributeName name)
{
    auto& used = usedNames();
    const auto number = std::size_t(name.number());
    if (number >= used.size())
        used.resize(number + 1);
    used[number] = true;
}
}

struct Attribute::Listeners
{
    bool attributeIsAlive = true;
    ListenerList<std::function<void()>> list;
};

Attribute::Attribute(Node* host, AttributeName name) : m_host(host), m_name(name)
{
    markUsed(name);
    if (m_host)
        m_host->addAttribute(*this);
}

Attribute::~Attribute()
{
    if (m_listeners)
        m_listeners->attributeIsAlive = false;
    if (m_host)
        m_host->removeAttribute(*this);
}

Attribute::ListenerId Attribute::addListener(std::function<void()> listener, int)
{
    if (!m_listeners)
        m_listeners = std::make_shared<Listeners>();
    const ListenerId id = nextListenerId();
    m_listeners->list.add(id, std::move(listener));
    return id;
}

void Attribute::removeListener(ListenerId id)
{
    if (!m_listeners)
        return;
    const auto listeners = m_listeners; // what the listener captured may own this attribute
    listeners->list.remove(id);
}

int Attribute::visibleLayer() const noexcept
{
    for (int layer = kLayerCount - 1; layer > kDefaultLayer; --layer)
        if (hasValue(layer))
            return layer;
    return kDefaultLayer;
}

bool Attribute::isKnownName(AttributeName name)
{
    const auto& used = usedNames();
    return std::size_t(name.number()) < used.size() && used[std::size_t(name.number())];
}

void Attribute::notifyChanged()
{
    const auto listeners = m_listeners; // outlives the attribute if the node or a listener destroys it
    const AttributeName attributeName = m_name;
    if (m_host)
        m_host->attributeChanged(*this);
    if (!listeners)
        return;
    const auto failed = [attributeName](const char* reason) {
        Bedrock::Trace::error("Attribute::notifyChanged # A listener of attribute '%s' failed: %s",
                              attributeName.text().constData(), reason);
    };
    listeners->list.forEach([&listeners] { return listeners->attributeIsAlive; },
                            [&failed](const std::function<void()>& listener) { Bedrock::guarded(listener, failed); });
}
}
