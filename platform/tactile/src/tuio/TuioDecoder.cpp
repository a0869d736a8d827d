#include <Tactile/TuioDecoder.hpp>

#include "tuio/Tuio1Decoder.hpp"
#include "tuio/Tuio2Decoder.hpp"
#include "tuio/TuioContacts.hpp"
#include "tuio/TuioSources.hpp"

namespace Tactile
{
namespace
{
constexpr std::size_t kMaxAddressText = 128;
}

struct TuioDecoder::Private final : OscMessageSink
{
    OscDecoder osc;
    TuioSources sources;
    TuioContacts contacts{sources};
    Tuio1Decoder version1{sources, contacts};
    Tuio2Decoder version2{sources, contacts};
    std::uint64_t unknownMessages = 0; // of the packet in hand

    RefusedPacket firstRefused;
    std::string firstUnknown;

    OscRefusal message(const OscMessage& message) override
    {
        bool isKnown = true;
        const OscRefusal refusal =
            Tuio2Decoder::isAddress(message.address) ? version2.read(message, isKnown) : version1.read(message, isKnown);
        if (!isKnown) {
            ++unknownMessages;
            if (firstUnknown.empty())
                firstUnknown.assign(message.address.substr(0, kMaxAddressText));
        }
        return refusal;
    }
};

TuioDecoder::TuioDecoder() : d(std::make_unique<Private>()) {}
TuioDecoder::~TuioDecoder() = default;

void TuioDecoder::decode(const Datagram& datagram, std::uint16_t listener, std::vector<ContactEvent>& events)
{
    TuioSources& sources = d->sources;
    ++sources.counters.packets;
    d->version1.beginPacket();
    d->version2.beginPacket();
    d->unknownMessages = 0;
    d->contacts.writeTo(events);
    const OscRefusal refusal = d->osc.decode(datagram.data, datagram.size, *d);
    sources.counters.refusals = d->osc.refusals();

    // A packet without TUIO messages adds no sender: garbage must not displace real senders.
    const bool hasMessages = !d->version1.isEmpty() || !d->version2.isEmpty();
    TuioSender* sender = refusal == OscRefusal::None && hasMessages ? &sources.senderOf(listener, datagram.sender)
                                                                    : sources.findSender(listener, datagram.sender);
    if (refusal != OscRefusal::None) {
        sources.count(TuioDrop::Malformed, sender ? sender->source : -1);
        if (d->firstRefused.cause == OscRefusal::None)
            d->firstRefused = {refusal, datagram.sender};
        return;
    }
    if (sender) {
        d->version1.apply(*sender);
        d->version2.apply(*sender);
    }
    const int source = sender ? sender->source : -1;
    if (d->unknownMessages > 0)
        sources.count(TuioDrop::UnknownMessage, source, d->unknownMessages);
    if (source < 0)
        return;
    TuioSourceCounters& counters = sources.countersOf(source);
    ++counters.packets;
    counters.isLost = false;
    ContactEvent seen;
    seen.key.source = static_cast<std::uint16_t>(source);
    events.push_back(seen);
}

void TuioDecoder::countUnread(TuioDrop cause)
{
    ++d->sources.counters.packets;
    d->sources.count(cause, -1);
}

void TuioDecoder::count(TuioDrop cause, std::uint16_t source)
{
    d->sources.count(cause, source < d->sources.size() ? source : -1);
}

void TuioDecoder::sourceLost(std::uint16_t source)
{
    if (source < d->sources.size())
        d->contacts.sourceLost(source);
}

const TuioCounters& TuioDecoder::counters() const noexcept
{
    return d->sources.counters;
}

const TuioDecoder::RefusedPacket& TuioDecoder::firstRefused() const noexcept
{
    return d->firstRefused;
}

const std::string& TuioDecoder::firstUnknownAddress() const noexcept
{
    return d->firstUnknown;
}
}
