#include <Facet/Attribute.hpp>

#include "ListenerList.hpp"

#include <Bedrock/Trace.hpp>
#include <Facet/Node.hpp>

#include <QSet>

#include <exception>
#include <utility>

namespace Facet
{
namespace
{
QSet<QByteArray>& knownNames()
{
    // Never destroyed: attributes of static objects may come late.
    static QSet<QByteArray>& names = *new QSet<QByteArray>;
    return names;
}

/// The one shared copy of a name. Copied deeply: the characters of a literal go away with the library they stand in.
QByteArray internedName(const QByteArray& name)
{
    auto& names = knownNames();
    const auto found = names.constFind(name);
    if (found != names.constEnd())
        return *found;
    return *names.insert(QByteArray(name.constData(), name.size()));
}
}

struct Attribute::Listeners
{
    bool attributeIsAlive = true;
    ListenerList<std::function<void()>> list;
};

Attribute::Attribute(Node* host, const QByteArray& name) : m_host(host), m_name(internedName(name))
{
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

bool Attribute::isKnownName(const QByteArray& name)
{
    return knownNames().contains(name);
}

void Attribute::notifyChanged()
{
    const auto listeners = m_listeners; // outlives the attribute if the node or a listener destroys it
    const QByteArray attributeName = m_name;
    if (m_host)
        m_host->attributeChanged(*this);
    if (!listeners)
        return;
    listeners->list.forEach([&listeners] { return listeners->attributeIsAlive; },
                            [&attributeName](const std::function<void()>& listener) {
                                try {
                                    listener();
                                } catch (const std::exception& exception) {
                                    Bedrock::Trace::error("Attribute::notifyChanged # A listener of attribute '%s' failed: %s",
                                                          attributeName.constData(), exception.what());
                                } catch (...) {
                                    Bedrock::Trace::error(
                                        "Attribute::notifyChanged # A listener of attribute '%s' failed: unknown exception",
                                        attributeName.constData());
                                }
                            });
}
}
