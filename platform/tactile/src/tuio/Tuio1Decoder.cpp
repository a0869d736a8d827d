#include "tuio/Tuio1Decoder.hpp"

#include "tuio/TuioContacts.hpp"
#include "tuio/TuioSources.hpp"

#include <Tactile/TuioDecoder.hpp>

#include <cstddef>
#include <cstring>

namespace Tactile
{
namespace
{
using Kind = TuioOperation::Kind;

/// Of a text of known length, which costs less than a call of memcmp.
template <std::size_t size>
bool isText(std::string_view text, const char (&expected)[size]) noexcept
{
    return text.size() == size - 1 && std::memcmp(text.data(), expected, size - 1) == 0;
}

bool profileOf(std::string_view address, TuioProfile& profile) noexcept
{
    if (isText(address, "/tuio/2Dcur"))
        profile = TuioProfile::Cursors;
    else if (isText(address, "/tuio/2Dobj"))
        profile = TuioProfile::Objects;
    else if (isText(address, "/tuio/2Dblb"))
        profile = TuioProfile::Blobs;
    else
        return false;
    return true;
}

TuioChannel channelOf(TuioProfile profile) noexcept
{
    return static_cast<TuioChannel>(profile);
}

bool readSet(OscArgumentReader& reader, TuioProfile profile, TuioSet& set)
{
    if (!reader.readInt(set.session))
        return false;
    switch (profile) {
    // Sizes, and derivatives, which are computed here instead, are not read.
    case TuioProfile::Objects:
        set.shape = TuioShape::Token;
        return reader.readInt(set.code) && readPose(reader, set) && reader.skipFloats(5);
    case TuioProfile::Cursors:
        set.shape = TuioShape::Pointer;
        return reader.readFloat(set.x) && reader.readFloat(set.y) && reader.skipFloats(3);
    case TuioProfile::Blobs: set.shape = TuioShape::Area; return readPose(reader, set) && reader.skipFloats(8);
    }
    return false;
}
}

OscRefusal Tuio1Decoder::read(const OscMessage& message, bool& isKnown)
{
    return m_messages.read(message, isKnown, [&](OscArgumentReader& reader, TuioOperation& operation) {
        return readArguments(message, reader, operation, isKnown);
    });
}

bool Tuio1Decoder::readArguments(const OscMessage& message, OscArgumentReader& reader, TuioOperation& operation, bool& isKnown)
{
    std::string_view command;
    isKnown = profileOf(message.address, operation.profile);
    if (!isKnown || !reader.readString(command))
        return false;
    if (isText(command, "set"))
        return readSet(reader, operation.profile, operation.set);
    if (isText(command, "alive"))
        return m_messages.readAlive(reader, operation);
    if (isText(command, "fseq")) {
        operation.kind = Kind::EndFrame;
        return reader.readInt(operation.frame);
    }
    if (isText(command, "source")) {
        operation.kind = Kind::Source;
        return reader.readString(operation.source);
    }
    isKnown = false;
    return false;
}

void Tuio1Decoder::apply(TuioSender& sender)
{
    for (const TuioOperation& operation : m_messages.operations()) {
        TuioPendingFrame& pending = sender.pending[static_cast<std::size_t>(operation.profile)];
        switch (operation.kind) {
        case Kind::Source: m_sources.nameSender(sender, operation.source); break;
        case Kind::Alive:
            // A frame that is split over packets may be closed in the last of them only, so what came so far is kept.
            if (pending.hasAlive)
                m_sources.countUnclosed(sender, channelOf(operation.profile));
            pending.hasAlive = true;
            m_messages.copyAlive(operation, pending.alive);
            break;
        case Kind::Set:
            if (pending.sets.size() >= kMaxPendingSets) {
                m_sources.countUnclosed(sender, channelOf(operation.profile));
                pending.sets.clear();
            }
            pending.sets.push_back(operation.set);
            break;
        case Kind::EndFrame:
            commit(sender, operation.profile, operation.frame);
            pending.clear();
            break;
        case Kind::BeginFrame: break; // TUIO 2.0
        }
    }
}

void Tuio1Decoder::commit(TuioSender& sender, TuioProfile profile, std::int32_t frame)
{
    const int source = m_sources.touchSourceOf(sender);
    if (source < 0)
        return;
    const TuioChannel channel = channelOf(profile);
    m_sources.countClosed(source, channel);
    const std::int64_t step = std::int64_t(m_sources.source(source).channel(channel).lastFrame) - frame;
    const bool isNear = frame > 0 && step <= TuioDecoder::kLateFrames;
    if (frame >= 0 && !m_contacts.beginFrame(source, channel, frame, isNear))
        return;
    TuioPendingFrame& pending = sender.pending[static_cast<std::size_t>(profile)];
    if (pending.hasAlive)
        m_contacts.applyAlive(source, channel, pending.alive);
    for (const TuioSet& set : pending.sets)
        m_contacts.applySet(source, channel, set);
    m_contacts.endFrame(source, channel);
}
}
