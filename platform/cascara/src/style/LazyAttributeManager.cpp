#include <Cascara/LazyAttributeManager.hpp>

#include "style/StyleEnginePrivate.hpp"

#include <Bedrock/Guarded.hpp>
#include <Bedrock/Trace.hpp>
#include <Facet/Attribute.hpp>
#include <Facet/NameTable.hpp>
#include <Facet/Node.hpp>

#include <algorithm>
#include <unordered_map>
#include <utility>

namespace Cascara
{
namespace
{
struct Entry
{
    long id;
    LazyAttributeManager::Creator creator;
};
using Table = std::unordered_map<int, std::vector<Entry>>; // by number of the attribute's name

Table& table()
{
    // Never destroyed: registrants are static objects of libraries.
    static Table& instance = *new Table;
    return instance;
}

long g_lastEntry = 0;
}

LazyAttributeManager::Registrant::Registrant(const QByteArray& name, Creator creator) : m_name(name), m_entry(++g_lastEntry)
{
    table()[Facet::NameTable::instance().number(name)].push_back({m_entry, std::move(creator)});
}

LazyAttributeManager::Registrant::~Registrant()
{
    const int number = Facet::NameTable::instance().number(m_name);
    auto& entries = table()[number];
    entries.erase(std::remove_if(entries.begin(), entries.end(), [this](const Entry& entry) { return entry.id == m_entry; }),
                  entries.end());
    std::vector<std::unique_ptr<Facet::Attribute>> taken;
    for (StyleNode* node : restyler().nodes()) {
        auto& lazy = node->lazyAttributes;
        const auto isOurs = [this](const auto& made) { return made.creator == m_entry; };
        const auto found = std::find_if(lazy.begin(), lazy.end(), isOurs);
        if (found == lazy.end())
            continue;
        taken.push_back(std::move(found->attribute));
        lazy.remove_if(isOurs);
        node->applied.erase(std::remove_if(node->applied.begin(), node->applied.end(),
                                           [number](const auto& applied) { return applied.attribute == number; }),
                            node->applied.end());
    }
    // Back to the default while the listeners' code is still there: they take back what they gave the node for the value.
    // Only now, as that may make and destroy nodes; one that is gone has no listeners to call.
    for (const auto& attribute : taken)
        for (const int layer : {Facet::kUserLayer, Facet::kStyleLayer})
            if (attribute->host())
                attribute->clearValue(layer);
}

Facet::Attribute* LazyAttributeManager::create(Styleable& styleable, const QByteArray& name)
{
    const auto found = table().find(Facet::NameTable::instance().findNumber(name));
    if (found == table().end())
        return nullptr;
    const auto node = StyleNode::shared(styleable);
    const long nodeId = styleable.node().id();
    const std::vector<Entry> entries = found->second; // a creator may register others
    for (const Entry& entry : entries) {
        std::unique_ptr<Facet::Attribute> attribute;
        Bedrock::guarded([&] { attribute = entry.creator(styleable, name); },
                         [&](const char* reason) {
                             Bedrock::Trace::error("LazyAttributeManager # Making attribute '%s' of node %ld failed: %s",
                                                   name.constData(), nodeId, reason);
                         });
        if (!node->owner)
            return nullptr;
        if (attribute) {
            node->lazyAttributes.push_front({entry.id, std::move(attribute)});
            return node->lazyAttributes.front().attribute.get();
        }
    }
    return nullptr;
}

bool LazyAttributeManager::isRegistered(const QByteArray& name)
{
    const auto found = table().find(Facet::NameTable::instance().findNumber(name));
    return found != table().end() && !found->second.empty();
}
}
