#include "tuio/Tuio2Decoder.hpp"

#include "tuio/TuioContacts.hpp"
#include "tuio/TuioSources.hpp"

#include <Tactile/TuioDecoder.hpp>

namespace Tactile
{
namespace
{
constexpr std::size_t kMaxPendingSets = 4096; // of a frame whose alv does not come
constexpr std::uint64_t kSecond = std::uint64_t(1) << 32;

/// The five derivatives that a sender may add: all or none, and not used.
bool skipDerivatives(OscArgumentReader& reader)
{
    float ignored = 0.f;
    if (reader.atEnd())
        return true;
    for (int i = 0; i < 5; ++i)
        if (!reader.readFloat(ignored))
            return false;
    return true;
}

bool skipFloats(OscArgumentReader& reader, int count)
{
    float ignored = 0.f;
    for (int i = 0; i < count; ++i)
        if (!reader.readFloat(ignored))
            return false;
    return true;
}

bool hasTime(std::uint64_t tag) noexcept
{
    return tag > 1;
}
}

void Tuio2Decoder::beginPacket()
{
    m_operations.clear();
    m_aliveIds.clear();
}

OscRefusal Tuio2Decoder::read(const OscMessage& message, bool& isKnown)
{
    isKnown = true;
    Operation operation;
    OscArgumentReader reader(message);
    const bool isRead = readMessage(message.address.substr(7), reader, operation, isKnown);
    if (!isKnown)
        return OscRefusal::None;
    if (!isRead)
        return reader.refusal();
    if (!reader.atEnd())
        return OscRefusal::ArgumentMismatch;
    m_operations.push_back(operation);
    return OscRefusal::None;
}

bool Tuio2Decoder::readMessage(std::string_view name, OscArgumentReader& reader, Operation& operation, bool& isKnown)
{
    TuioSet& set = operation.set;
    operation.kind = Operation::Kind::Set;
    std::int32_t typeAndUser = 0; // nothing above asks who touches or with what
    std::int32_t component = 0;
    std::string_view text;
    if (name == "tok") {
        set.shape = TuioShape::Token;
        return reader.readInt(set.session) && reader.readInt(typeAndUser) && reader.readInt(set.code) && reader.readFloat(set.x)
            && reader.readFloat(set.y) && reader.readFloat(set.angle) && skipDerivatives(reader);
    }
    if (name == "ptr") {
        set.shape = TuioShape::Pointer;
        return reader.readInt(set.session) && reader.readInt(typeAndUser) && reader.readInt(component) && reader.readFloat(set.x)
            && reader.readFloat(set.y) && reader.readFloat(set.angle) && skipFloats(reader, 3) && skipDerivatives(reader);
    }
    if (name == "bnd") {
        set.shape = TuioShape::Area;
        return reader.readInt(set.session) && reader.readFloat(set.x) && reader.readFloat(set.y) && reader.readFloat(set.angle)
            && skipFloats(reader, 3) && skipDerivatives(reader);
    }
    if (name == "sym") {
        set.shape = TuioShape::Symbol;
        return reader.readInt(set.session) && reader.readInt(typeAndUser) && reader.readInt(set.code) && reader.readString(text)
            && reader.readString(text);
    }
    if (name == "frm") {
        operation.kind = Operation::Kind::Frame;
        return reader.readInt(operation.frame) && reader.readTime(operation.time) && reader.readInt(operation.dimension)
            && reader.readString(operation.source);
    }
    if (name == "alv") {
        operation.kind = Operation::Kind::Alive;
        operation.aliveBegin = m_aliveIds.size();
        while (!reader.atEnd()) {
            std::int32_t id = 0;
            if (!reader.readInt(id))
                return false;
            m_aliveIds.push_back(id);
        }
        operation.aliveEnd = m_aliveIds.size();
        return true;
    }
    isKnown = false;
    return false;
}

void Tuio2Decoder::apply(TuioSender& sender)
{
    Tuio2PendingFrame& pending = sender.pending2;
    for (const Operation& operation : m_operations) {
        switch (operation.kind) {
        case Operation::Kind::Frame:
            // One that was not closed lost its end on the way, and with it its meaning.
            m_sources.nameSender(sender, operation.source);
            pending.isOpen = true;
            pending.frame = operation.frame;
            pending.time = operation.time;
            pending.dimension = static_cast<std::uint32_t>(operation.dimension);
            pending.sets.clear();
            break;
        case Operation::Kind::Set:
            if (!pending.isOpen)
                m_sources.count(TuioDrop::NoFrame, sender.source);
            else if (pending.sets.size() < kMaxPendingSets)
                pending.sets.push_back(operation.set);
            break;
        case Operation::Kind::Alive:
            if (pending.isOpen)
                commit(sender, operation);
            else
                m_sources.count(TuioDrop::NoFrame, sender.source);
            pending.isOpen = false;
            pending.sets.clear();
            break;
        }
    }
}

void Tuio2Decoder::commit(TuioSender& sender, const Operation& alive)
{
    const int source = m_sources.touchSourceOf(sender);
    if (source < 0)
        return;
    const Tuio2PendingFrame& pending = sender.pending2;
    if (!isInOrder(source, pending))
        return m_sources.count(TuioDrop::Late, source);
    TuioSourceCounters& counters = m_sources.countersOf(source);
    counters.sensorWidth = static_cast<std::uint16_t>(pending.dimension >> 16);
    counters.sensorHeight = static_cast<std::uint16_t>(pending.dimension & 0xffff);
    m_alive.assign(m_aliveIds.begin() + std::ptrdiff_t(alive.aliveBegin), m_aliveIds.begin() + std::ptrdiff_t(alive.aliveEnd));
    m_contacts.takeAlive(source, TuioChannel::Components, m_alive);
    // What tells most of a session first, so that a card's area is never shown as a finger.
    for (const TuioShape shape : {TuioShape::Token, TuioShape::Pointer, TuioShape::Symbol, TuioShape::Area})
        for (const TuioSet& set : pending.sets)
            if (set.shape == shape)
                m_contacts.takeSet(source, TuioChannel::Components, set);
    m_contacts.endFrame(source, TuioChannel::Components);
}

bool Tuio2Decoder::isInOrder(int source, const Tuio2PendingFrame& frame)
{
    TuioChannelState& state = m_sources.source(source).channel(TuioChannel::Components);
    if (frame.frame == 0)
        return true;
    if (state.hasFrame && frame.frame < state.lastFrame) {
        const std::uint64_t apart = frame.time > state.lastTime ? frame.time - state.lastTime : state.lastTime - frame.time;
        const bool isNear = hasTime(frame.time) && hasTime(state.lastTime)
            ? apart <= kSecond
            : std::int64_t(state.lastFrame) - frame.frame <= TuioDecoder::kLateFrames;
        if (isNear && !state.isOrderLost)
            return false;
        m_contacts.restart(source, TuioChannel::Components);
    }
    state.hasFrame = true;
    state.isOrderLost = false;
    state.lastFrame = frame.frame;
    state.lastTime = frame.time;
    return true;
}
}
