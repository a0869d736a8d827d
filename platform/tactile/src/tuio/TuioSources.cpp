#include "tuio/TuioSources.hpp"

#include <Tactile/TuioDecoder.hpp>

#include <algorithm>
#include <utility>

namespace Tactile
{
namespace
{
constexpr std::size_t kMaxSenders = 64;
constexpr std::size_t kMaxSourceText = 128;

/// A sender's source name, fit for a log line; without '@' it means this machine.
std::string sourceName(std::string_view text)
{
    std::string name(text.substr(0, kMaxSourceText));
    for (char& c : name)
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f)
            c = '?';
    if (name.find('@') == std::string::npos)
        name += "@localhost";
    return name;
}
}

TuioSources::TuioSources()
{
    m_senders.reserve(kMaxSenders);
    m_sources.reserve(TuioDecoder::kMaxSources);
    counters.sources.reserve(TuioDecoder::kMaxSources);
}

TuioSender* TuioSources::findSender(std::uint16_t listener, const SenderAddress& address)
{
    for (TuioSender& sender : m_senders)
        if (sender.listener == listener && sender.address == address)
            return &sender;
    return nullptr;
}

TuioSender& TuioSources::senderOf(std::uint16_t listener, const SenderAddress& address)
{
    TuioSender* sender = findSender(listener, address);
    if (!sender && m_senders.size() < kMaxSenders)
        sender = &m_senders.emplace_back();
    else if (!sender)
        sender = &*std::min_element(m_senders.begin(), m_senders.end(),
                                    [](const auto& a, const auto& b) { return a.lastUse < b.lastUse; });
    if (sender->lastUse == 0 || sender->listener != listener || sender->address != address) {
        *sender = TuioSender();
        sender->listener = listener;
        sender->address = address;
    }
    sender->lastUse = ++m_uses;
    return *sender;
}

int TuioSources::findSource(std::uint16_t listener, bool isNamed, const std::string& name) const
{
    for (std::size_t i = 0; i < m_sources.size(); ++i)
        if (m_sources[i].listener == listener && m_sources[i].isNamed == isNamed && counters.sources[i].name == name)
            return static_cast<int>(i);
    return -1;
}

/// The place for a new source: a free one, else that of the source lost longest ago, else none.
int TuioSources::freePlace()
{
    if (m_sources.size() < TuioDecoder::kMaxSources) {
        m_sources.emplace_back();
        counters.sources.emplace_back();
        return static_cast<int>(m_sources.size()) - 1;
    }
    int place = -1;
    for (std::size_t i = 0; i < m_sources.size(); ++i)
        if (counters.sources[i].isLost && (place < 0 || m_sources[i].lastUse < source(place).lastUse))
            place = static_cast<int>(i);
    if (place >= 0) {
        source(place) = TuioSource();
        countersOf(place) = TuioSourceCounters();
        for (TuioSender& sender : m_senders)
            if (sender.source == place)
                sender.source = -1;
    }
    return place;
}

void TuioSources::nameSender(TuioSender& sender, std::string_view text)
{
    text = text.substr(0, kMaxSourceText);
    if (text.empty() || sender.sourceText == text)
        return;
    const bool wasUnnamed = sender.sourceText.empty();
    sender.sourceText.assign(text);
    std::string name = sourceName(text);
    const int known = findSource(sender.listener, true, name);
    if (wasUnnamed && sender.source >= 0 && known < 0) {
        // Its first name: the same source, the same contacts.
        source(sender.source).isNamed = true;
        countersOf(sender.source).name = std::move(name);
        return;
    }
    sender.source = known;
}

int TuioSources::touchSourceOf(TuioSender& sender)
{
    if (sender.source < 0) {
        const bool isNamed = !sender.sourceText.empty();
        std::string name = isNamed ? sourceName(sender.sourceText) : sender.address.toString();
        sender.source = findSource(sender.listener, isNamed, name);
        if (sender.source < 0 && (sender.source = freePlace()) >= 0) {
            source(sender.source).listener = sender.listener;
            source(sender.source).isNamed = isNamed;
            countersOf(sender.source).name = std::move(name);
        }
    }
    if (sender.source < 0)
        count(TuioDrop::SourceCap, -1);
    else
        source(sender.source).lastUse = ++m_uses;
    return sender.source;
}

void TuioSources::count(TuioDrop cause, int index, std::uint64_t times)
{
    counters.drops[static_cast<std::size_t>(cause)] += times;
    if (index >= 0)
        countersOf(index).drops[static_cast<std::size_t>(cause)] += times;
}

void TuioSources::countUnclosed(TuioSender& sender, TuioChannel channel)
{
    const int index = touchSourceOf(sender);
    count(TuioDrop::Unclosed, index);
    if (index < 0)
        return;
    TuioUnclosedFrames& unclosed = unclosedOf(index, channel);
    ++unclosed.count;
    ++unclosed.inARow;
}
}
