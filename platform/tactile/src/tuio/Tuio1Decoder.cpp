#include "tuio/Tuio1Decoder.hpp"

#include "tuio/TuioContacts.hpp"
#include "tuio/TuioSources.hpp"

#include <Tactile/TuioDecoder.hpp>

namespace Tactile
{
namespace
{
constexpr std::size_t kMaxPendingSets = 4096; // of a frame whose fseq does not come

bool profileOf(std::string_view address, TuioProfile& profile) noexcept
{
    for (const TuioProfile p : {TuioProfile::Objects, TuioProfile::Cursors, TuioProfile::Blobs}) {
        if (address == tuioAddress(p)) {
            profile = p;
            return true;
        }
    }
    return false;
}

TuioChannel channelOf(TuioProfile profile) noexcept
{
    return static_cast<TuioChannel>(profile);
}
}

void Tuio1Decoder::beginPacket()
{
    m_operations.clear();
    m_aliveIds.clear();
}

OscRefusal Tuio1Decoder::read(const OscMessage& message, bool& isKnown)
{
    Operation operation;
    isKnown = profileOf(message.address, operation.profile);
    if (!isKnown)
        return OscRefusal::None;
    OscArgumentReader reader(message);
    std::string_view command;
    if (!reader.readString(command))
        return reader.refusal();
    bool isRead = true;
    if (command == "set") {
        operation.kind = Operation::Kind::Set;
        isRead = readSet(reader, operation);
    } else if (command == "alive") {
        operation.kind = Operation::Kind::Alive;
        isRead = readAlive(reader, operation);
    } else if (command == "fseq") {
        operation.kind = Operation::Kind::Fseq;
        isRead = reader.readInt(operation.frame);
    } else if (command == "source") {
        operation.kind = Operation::Kind::Source;
        isRead = reader.readString(operation.source);
    } else {
        isKnown = false;
        return OscRefusal::None;
    }
    if (!isRead)
        return reader.refusal();
    if (!reader.atEnd())
        return OscRefusal::ArgumentMismatch;
    m_operations.push_back(operation);
    return OscRefusal::None;
}

bool Tuio1Decoder::readAlive(OscArgumentReader& reader, Operation& operation)
{
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

bool Tuio1Decoder::readSet(OscArgumentReader& reader, Operation& operation)
{
    TuioSet& set = operation.set;
    const bool isObject = operation.profile == TuioProfile::Objects;
    const bool isBlob = operation.profile == TuioProfile::Blobs;
    set.shape = isObject ? TuioShape::Token : isBlob ? TuioShape::Area : TuioShape::Pointer;
    bool isRead = reader.readInt(set.session) && (!isObject || reader.readInt(set.code)) && reader.readFloat(set.x)
        && reader.readFloat(set.y) && (!(isObject || isBlob) || reader.readFloat(set.angle));
    // Sizes and derivatives: we compute our own.
    const int rest = isObject ? 5 : isBlob ? 8 : 3;
    float ignored = 0.f;
    for (int i = 0; i < rest && isRead; ++i)
        isRead = reader.readFloat(ignored);
    return isRead;
}

void Tuio1Decoder::apply(TuioSender& sender)
{
    for (const Operation& operation : m_operations) {
        TuioPendingFrame& pending = sender.pending[static_cast<std::size_t>(operation.profile)];
        switch (operation.kind) {
        case Operation::Kind::Source: m_sources.nameSender(sender, operation.source); break;
        case Operation::Kind::Alive:
            pending.hasAlive = true;
            pending.alive.assign(m_aliveIds.begin() + std::ptrdiff_t(operation.aliveBegin),
                                 m_aliveIds.begin() + std::ptrdiff_t(operation.aliveEnd));
            break;
        case Operation::Kind::Set:
            if (pending.sets.size() >= kMaxPendingSets)
                pending.sets.clear(); // a sender that never ends its frame
            pending.sets.push_back(operation.set);
            break;
        case Operation::Kind::Fseq:
            commit(sender, operation.profile, operation.frame);
            pending.clear();
            break;
        }
    }
}

void Tuio1Decoder::commit(TuioSender& sender, TuioProfile profile, std::int32_t frame)
{
    const int source = m_sources.touchSourceOf(sender);
    if (source < 0)
        return;
    const TuioChannel channel = channelOf(profile);
    if (!isInOrder(source, channel, frame))
        return m_sources.count(TuioDrop::Late, source);
    TuioPendingFrame& pending = sender.pending[static_cast<std::size_t>(profile)];
    if (pending.hasAlive)
        m_contacts.takeAlive(source, channel, pending.alive);
    for (const TuioSet& set : pending.sets)
        m_contacts.takeSet(source, channel, set);
    m_contacts.endFrame(source, channel);
}

bool Tuio1Decoder::isInOrder(int source, TuioChannel channel, std::int32_t frame)
{
    TuioChannelState& state = m_sources.source(source).channel(channel);
    if (frame < 0) // redundant: has no place in the order
        return true;
    if (state.hasFrame && frame < state.lastFrame) {
        if (frame > 0 && !state.isOrderLost && state.lastFrame - frame <= TuioDecoder::kLateFrames)
            return false;
        m_contacts.restart(source, channel);
    }
    state.hasFrame = true;
    state.isOrderLost = false;
    state.lastFrame = frame;
    return true;
}
}
