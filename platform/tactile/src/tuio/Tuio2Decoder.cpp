#include "tuio/Tuio2Decoder.hpp"

#include "tuio/TuioContacts.hpp"
#include "tuio/TuioSources.hpp"

#include <Tactile/TuioDecoder.hpp>

namespace Tactile
{
namespace
{
using Kind = TuioOperation::Kind;

constexpr std::uint64_t kSecond = std::uint64_t(1) << 32;

/// The five derivatives that a sender may add: all or none.
bool skipDerivatives(OscArgumentReader& reader)
{
    return reader.atEnd() || reader.skipFloats(5);
}

bool hasTime(std::uint64_t tag) noexcept
{
    return tag > 1;
}
}

OscRefusal Tuio2Decoder::read(const OscMessage& message, bool& isKnown)
{
    return m_messages.read(message, isKnown, [&](OscArgumentReader& reader, TuioOperation& operation) {
        return readArguments(message.address.substr(7), reader, operation, isKnown);
    });
}

bool Tuio2Decoder::readArguments(std::string_view name, OscArgumentReader& reader, TuioOperation& operation, bool& isKnown)
{
    TuioSet& set = operation.set;
    std::int32_t ignored = 0; // type and user, and the component of a pointer
    std::string_view text;
    if (name == "tok") {
        set.shape = TuioShape::Token;
        return reader.readInt(set.session) && reader.readInt(ignored) && reader.readInt(set.code) && readPose(reader, set)
            && skipDerivatives(reader);
    }
    if (name == "ptr") {
        set.shape = TuioShape::Pointer;
        return reader.readInt(set.session) && reader.readInt(ignored) && reader.readInt(ignored) && readPose(reader, set)
            && reader.skipFloats(3) && skipDerivatives(reader);
    }
    if (name == "bnd") {
        set.shape = TuioShape::Area;
        return reader.readInt(set.session) && readPose(reader, set) && reader.skipFloats(3) && skipDerivatives(reader);
    }
    if (name == "sym") {
        set.shape = TuioShape::Symbol;
        return reader.readInt(set.session) && reader.readInt(ignored) && reader.readInt(set.code) && reader.readString(text)
            && reader.readString(text);
    }
    if (name == "frm") {
        operation.kind = Kind::BeginFrame;
        return reader.readInt(operation.frame) && reader.readTime(operation.time) && reader.readInt(operation.dimension)
            && reader.readString(operation.source);
    }
    if (name == "alv")
        return m_messages.readAlive(reader, operation);
    isKnown = false;
    return false;
}

void Tuio2Decoder::apply(TuioSender& sender)
{
    Tuio2PendingFrame& pending = sender.pending2;
    for (const TuioOperation& operation : m_messages.operations()) {
        switch (operation.kind) {
        case Kind::BeginFrame:
            m_sources.nameSender(sender, operation.source);
            // The end of a frame that is still open was lost on the way or never sent, and its sets are lost with it.
            if (pending.isOpen)
                m_sources.countUnclosed(sender, TuioChannel::Components);
            pending.isOpen = true;
            pending.frame = operation.frame;
            pending.time = operation.time;
            pending.dimension = static_cast<std::uint32_t>(operation.dimension);
            pending.sets.clear();
            break;
        case Kind::Set:
            if (!pending.isOpen)
                m_sources.count(TuioDrop::NoFrame, sender.source);
            else if (pending.sets.size() < kMaxPendingSets)
                pending.sets.push_back(operation.set);
            break;
        case Kind::Alive:
            if (pending.isOpen)
                commit(sender, operation);
            else
                m_sources.count(TuioDrop::NoFrame, sender.source);
            pending.isOpen = false;
            pending.sets.clear();
            break;
        case Kind::Source:
        case Kind::EndFrame: break; // TUIO 1.1
        }
    }
}

void Tuio2Decoder::commit(TuioSender& sender, const TuioOperation& alive)
{
    const int source = m_sources.touchSourceOf(sender);
    if (source < 0)
        return;
    m_sources.countClosed(source, TuioChannel::Components);
    const Tuio2PendingFrame& pending = sender.pending2;
    if (!beginFrame(source, pending))
        return;
    TuioSourceCounters& counters = m_sources.countersOf(source);
    counters.sensorWidth = static_cast<std::uint16_t>(pending.dimension >> 16);
    counters.sensorHeight = static_cast<std::uint16_t>(pending.dimension & 0xffff);
    m_messages.copyAlive(alive, m_alive);
    m_contacts.applyAlive(source, TuioChannel::Components, m_alive);
    // The most informative shape of a session comes first, so that a card's area is never shown as a finger.
    for (const TuioShape shape : {TuioShape::Token, TuioShape::Pointer, TuioShape::Symbol, TuioShape::Area})
        for (const TuioSet& set : pending.sets)
            if (set.shape == shape)
                m_contacts.applySet(source, TuioChannel::Components, set);
    m_contacts.endFrame(source, TuioChannel::Components);
}

bool Tuio2Decoder::beginFrame(int source, const Tuio2PendingFrame& frame)
{
    if (frame.frame == 0)
        return true;
    TuioChannelState& state = m_sources.source(source).channel(TuioChannel::Components);
    const std::uint64_t apart = frame.time > state.lastTime ? frame.time - state.lastTime : state.lastTime - frame.time;
    const bool isNear = hasTime(frame.time) && hasTime(state.lastTime)
        ? apart <= kSecond
        : std::int64_t(state.lastFrame) - frame.frame <= TuioDecoder::kLateFrames;
    if (!m_contacts.beginFrame(source, TuioChannel::Components, frame.frame, isNear))
        return false;
    state.lastTime = frame.time;
    return true;
}
}
