#pragma once

#include "AttributeExtras.hpp"
#include "Counted.hpp"
#include "ListenerList.hpp"

#include <Bedrock/BinaryData.hpp>
#include <Facet/EventName.hpp>
#include <Facet/Node.hpp>

#include <algorithm>
#include <functional>
#include <memory>
#include <vector>

namespace Facet
{
/// What few nodes have: made with the first listener or hidden value. Outlives the node during a send.
struct Node::Extras final : Counted<Node::Extras>
{
    struct Callback
    {
        std::function<void()> plain;
        std::function<void(Bedrock::BinaryData&)> withPayload;
    };
    /// The listeners of one event.
    struct Channel
    {
        EventName name;
        ListenerList<Callback> listeners;
    };

    bool nodeIsAlive = true;
    /// Channels keep their address while a listener makes new ones.
    std::vector<std::unique_ptr<Channel>> channels;
    ListenerList<std::function<void()>> endListeners;
    AttributeExtras attributes;

    [[nodiscard]] Channel* find(EventName name) const noexcept
    {
        for (const auto& channel : channels)
            if (channel->name == name)
                return channel.get();
        return nullptr;
    }
    [[nodiscard]] Channel& obtain(EventName name)
    {
        if (Channel* const found = find(name))
            return *found;
        channels.push_back(std::make_unique<Channel>(Channel{name, {}}));
        return *channels.back();
    }
    /// Frees the channels that have lost their last listener. One that is delivering stays.
    void dropUnusedChannels()
    {
        channels.erase(
            std::remove_if(channels.begin(), channels.end(), [](const auto& channel) { return channel->listeners.isUnused(); }),
            channels.end());
    }
    /// Whether all that is kept here has gone, and no listener is being called.
    [[nodiscard]] bool isUnused() const noexcept { return channels.empty() && endListeners.isUnused() && attributes.isEmpty(); }
    /// Calls the listeners of the channel, in the name of the node with that id.
    void deliver(Channel& channel, long node, Bedrock::BinaryData& payload);
};
}
