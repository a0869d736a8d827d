#include <Tactile/TuioDecoder.hpp>

#include "TuioState.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

namespace Tactile
{
namespace
{
using Kind = ContactEvent::Kind;

constexpr std::size_t kMaxSenders = 64;
constexpr std::size_t kMaxPendingSets = 4096; // of a frame whose fseq does not come
constexpr std::size_t kMaxSourceText = 128;
constexpr float kMargin = 0.05f; // calibration may put the rim of the surface slightly outside 0..1

float wrapAngle(float radians) noexcept
{
    constexpr float kTurn = 6.28318530717958647692f;
    const float wrapped = std::fmod(radians, kTurn);
    const float positive = wrapped < 0.f ? wrapped + kTurn : wrapped;
    return positive < kTurn ? positive : 0.f;
}

/// What a sender calls itself, fit for a log line; without '@' it means this machine.
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
}

struct TuioDecoder::Private final : OscMessageSink
{
    OscDecoder osc;
    TuioCounters counters;
    std::vector<TuioSender> senders;
    std::vector<TuioSource> sources;
    std::uint64_t uses = 0;

    // Of the packet in hand.
    std::vector<TuioOperation> operations;
    std::vector<std::int32_t> aliveIds;
    std::uint64_t unknownMessages = 0;
    std::vector<ContactEvent>* events = nullptr;

    RefusedPacket firstRefused;
    std::string firstUnknown;

    Private()
    {
        senders.reserve(kMaxSenders);
        sources.reserve(kMaxSources);
        counters.sources.reserve(kMaxSources);
    }

    // Reading a packet

    OscRefusal message(const OscMessage& message) override
    {
        TuioOperation operation;
        if (!profileOf(message.address, operation.profile))
            return unknown(message);
        OscArgumentReader reader(message);
        std::string_view command;
        if (!reader.readString(command))
            return reader.refusal();
        bool isRead = true;
        if (command == "set") {
            operation.kind = TuioOperation::Kind::Set;
            isRead = readSet(reader, operation);
        } else if (command == "alive") {
            operation.kind = TuioOperation::Kind::Alive;
            operation.aliveBegin = aliveIds.size();
            std::int32_t id = 0;
            while (isRead && !reader.atEnd()) {
                isRead = reader.readInt(id);
                if (isRead)
                    aliveIds.push_back(id);
            }
            operation.aliveEnd = aliveIds.size();
        } else if (command == "fseq") {
            operation.kind = TuioOperation::Kind::Fseq;
            isRead = reader.readInt(operation.frame);
        } else if (command == "source") {
            operation.kind = TuioOperation::Kind::Source;
            isRead = reader.readString(operation.source);
        } else {
            return unknown(message);
        }
        if (!isRead)
            return reader.refusal();
        if (!reader.atEnd())
            return OscRefusal::ArgumentMismatch;
        operations.push_back(operation);
        return OscRefusal::None;
    }

    OscRefusal unknown(const OscMessage& message)
    {
        ++unknownMessages;
        if (firstUnknown.empty())
            firstUnknown.assign(message.address.substr(0, kMaxSourceText));
        return OscRefusal::None;
    }

    static bool readSet(OscArgumentReader& reader, TuioOperation& operation)
    {
        TuioSet& set = operation.set;
        const bool isObject = operation.profile == TuioProfile::Objects;
        const bool isBlob = operation.profile == TuioProfile::Blobs;
        bool isRead = reader.readInt(set.session) && (!isObject || reader.readInt(set.code)) &&
                      reader.readFloat(set.x) && reader.readFloat(set.y) &&
                      (!(isObject || isBlob) || reader.readFloat(set.angle));
        // Sizes and derivatives: we compute our own.
        const int rest = isObject ? 5 : isBlob ? 8 : 3;
        float ignored = 0.f;
        for (int i = 0; i < rest && isRead; ++i)
            isRead = reader.readFloat(ignored);
        return isRead;
    }

    // Senders and sources

    TuioSender* findSender(std::uint16_t listener, const SenderAddress& address)
    {
        for (TuioSender& sender : senders)
            if (sender.listener == listener && sender.address == address)
                return &sender;
        return nullptr;
    }

    TuioSender& senderOf(std::uint16_t listener, const SenderAddress& address)
    {
        TuioSender* sender = findSender(listener, address);
        if (!sender && senders.size() < kMaxSenders)
            sender = &senders.emplace_back();
        else if (!sender)
            sender = &*std::min_element(senders.begin(), senders.end(),
                                        [](const auto& a, const auto& b) { return a.lastUse < b.lastUse; });
        if (sender->lastUse == 0 || sender->listener != listener || sender->address != address) {
            *sender = TuioSender();
            sender->listener = listener;
            sender->address = address;
        }
        sender->lastUse = ++uses;
        return *sender;
    }

    int findSource(std::uint16_t listener, bool isNamed, const std::string& name) const
    {
        for (std::size_t i = 0; i < sources.size(); ++i)
            if (sources[i].listener == listener && sources[i].isNamed == isNamed && counters.sources[i].name == name)
                return static_cast<int>(i);
        return -1;
    }

    /// The place for a new source: a free one, else that of the source lost longest ago, else none.
    int freePlace()
    {
        if (sources.size() < kMaxSources) {
            sources.emplace_back();
            counters.sources.emplace_back();
            return static_cast<int>(sources.size()) - 1;
        }
        int place = -1;
        for (std::size_t i = 0; i < sources.size(); ++i)
            if (counters.sources[i].isLost && (place < 0 || sources[i].lastUse < sources[std::size_t(place)].lastUse))
                place = static_cast<int>(i);
        if (place >= 0) {
            sources[std::size_t(place)] = TuioSource();
            counters.sources[std::size_t(place)] = TuioSourceCounters();
            for (TuioSender& sender : senders)
                if (sender.source == place)
                    sender.source = -1;
        }
        return place;
    }

    void nameSender(TuioSender& sender, std::string_view text)
    {
        text = text.substr(0, kMaxSourceText);
        if (text.empty() || sender.sourceText == text)
            return;
        const bool wasUnnamed = sender.sourceText.empty();
        sender.sourceText.assign(text);
        std::string name = sourceName(text);
        const int known = findSource(sender.listener, true, name);
        if (wasUnnamed && sender.source >= 0 && known < 0) {
            // It named itself only now: the same source, the same contacts.
            sources[std::size_t(sender.source)].isNamed = true;
            counters.sources[std::size_t(sender.source)].name = std::move(name);
            return;
        }
        sender.source = known;
    }

    int sourceOf(TuioSender& sender)
    {
        if (sender.source >= 0)
            return sender.source;
        const bool isNamed = !sender.sourceText.empty();
        std::string name = isNamed ? sourceName(sender.sourceText) : sender.address.toString();
        sender.source = findSource(sender.listener, isNamed, name);
        if (sender.source < 0 && (sender.source = freePlace()) >= 0) {
            TuioSource& source = sources[std::size_t(sender.source)];
            source.listener = sender.listener;
            source.isNamed = isNamed;
            counters.sources[std::size_t(sender.source)].name = std::move(name);
        }
        return sender.source;
    }

    // Counting

    void count(TuioDrop cause, int source, std::uint64_t times = 1)
    {
        counters.drops[std::size_t(cause)] += times;
        if (source >= 0)
            counters.sources[std::size_t(source)].drops[std::size_t(cause)] += times;
    }

    // Taking effect

    void apply(TuioSender& sender)
    {
        for (const TuioOperation& operation : operations) {
            TuioPendingFrame& pending = sender.pending[std::size_t(operation.profile)];
            switch (operation.kind) {
            case TuioOperation::Kind::Source:
                nameSender(sender, operation.source);
                break;
            case TuioOperation::Kind::Alive:
                pending.hasAlive = true;
                pending.alive.assign(aliveIds.begin() + std::ptrdiff_t(operation.aliveBegin),
                                     aliveIds.begin() + std::ptrdiff_t(operation.aliveEnd));
                break;
            case TuioOperation::Kind::Set:
                if (pending.sets.size() >= kMaxPendingSets)
                    pending.sets.clear(); // a sender that never ends its frame
                pending.sets.push_back(operation.set);
                break;
            case TuioOperation::Kind::Fseq:
                commit(sender, operation.profile, operation.frame);
                pending.clear();
                break;
            }
        }
    }

    void commit(TuioSender& sender, TuioProfile profile, std::int32_t frame)
    {
        const int index = sourceOf(sender);
        if (index < 0) {
            count(TuioDrop::SourceCap, -1);
            return;
        }
        TuioPendingFrame& pending = sender.pending[std::size_t(profile)];
        TuioSource& source = sources[std::size_t(index)];
        TuioProfileState& state = source.profiles[std::size_t(profile)];
        source.lastUse = ++uses;
        if (!isInOrder(index, profile, frame)) {
            count(TuioDrop::Late, index);
            return;
        }
        ++counters.sources[std::size_t(index)].frames;
        if (pending.hasAlive)
            takeAlive(index, profile, pending.alive);
        for (const TuioSet& set : pending.sets)
            takeSet(index, profile, set);
        if (state.mustAnnounce) {
            for (TuioSession& session : state.sessions)
                announce(index, profile, session);
            state.mustAnnounce = false;
        }
        recount(index);
    }

    bool isInOrder(int index, TuioProfile profile, std::int32_t frame)
    {
        TuioProfileState& state = sources[std::size_t(index)].profiles[std::size_t(profile)];
        if (frame < 0) // redundant: has no place in the order
            return true;
        if (state.hasFrame && frame < state.lastFrame) {
            if (frame > 0 && !state.isOrderLost && state.lastFrame - frame <= kLateFrames)
                return false;
            // The sender restarted: its session ids mean other things now.
            for (TuioSession& session : state.sessions)
                if (session.isAnnounced)
                    write(Kind::Cancel, index, profile, session);
            state.sessions.clear();
            state.alive.clear();
        }
        state.hasFrame = true;
        state.isOrderLost = false;
        state.lastFrame = frame;
        return true;
    }

    void takeAlive(int index, TuioProfile profile, std::vector<std::int32_t>& alive)
    {
        TuioProfileState& state = sources[std::size_t(index)].profiles[std::size_t(profile)];
        std::sort(alive.begin(), alive.end());
        alive.erase(std::unique(alive.begin(), alive.end()), alive.end());
        if (alive == state.alive)
            return;
        state.alive.swap(alive);
        auto kept = state.sessions.begin();
        for (TuioSession& session : state.sessions) {
            if (std::binary_search(state.alive.begin(), state.alive.end(), session.id))
                *kept++ = session;
            else if (session.isAnnounced)
                write(Kind::Vanish, index, profile, session);
        }
        state.sessions.erase(kept, state.sessions.end());
    }

    void takeSet(int index, TuioProfile profile, const TuioSet& set)
    {
        TuioProfileState& state = sources[std::size_t(index)].profiles[std::size_t(profile)];
        if (!std::isfinite(set.x) || !std::isfinite(set.y) || !std::isfinite(set.angle))
            return count(TuioDrop::NotFinite, index);
        const auto isNear = [](float v) { return v >= -kMargin && v <= 1.f + kMargin; };
        if (!isNear(set.x) || !isNear(set.y) || set.code < 0)
            return count(TuioDrop::OutOfRange, index);
        if (!std::binary_search(state.alive.begin(), state.alive.end(), set.session))
            return count(TuioDrop::NotAlive, index);

        const float x = std::clamp(set.x, 0.f, 1.f);
        const float y = std::clamp(set.y, 0.f, 1.f);
        const float angle = wrapAngle(set.angle);
        const auto found = std::find_if(state.sessions.begin(), state.sessions.end(),
                                        [&set](const TuioSession& s) { return s.id == set.session; });
        if (found == state.sessions.end()) {
            if (isFull(index, profile))
                return count(profile == TuioProfile::Objects ? TuioDrop::MarkerCap : TuioDrop::FingerCap, index);
            state.sessions.push_back({set.session, set.code, x, y, angle, false, false});
            return announce(index, profile, state.sessions.back());
        }
        TuioSession& session = *found;
        if (session.isVoid)
            return;
        if (session.isAnnounced && session.code != set.code) {
            // The sender read another code: another card.
            write(Kind::Vanish, index, profile, session);
            session.isAnnounced = false;
        }
        const bool isChanged = session.x != x || session.y != y || session.angle != angle;
        session.code = set.code;
        session.x = x;
        session.y = y;
        session.angle = angle;
        if (!session.isAnnounced)
            announce(index, profile, session);
        else if (isChanged)
            write(Kind::Move, index, profile, session);
    }

    void announce(int index, TuioProfile profile, TuioSession& session)
    {
        if (session.isAnnounced || session.isVoid)
            return;
        session.isAnnounced = true;
        write(Kind::Appear, index, profile, session);
    }

    bool isFull(int index, TuioProfile profile) const
    {
        const auto& profiles = sources[std::size_t(index)].profiles;
        if (profile == TuioProfile::Objects)
            return profiles[std::size_t(TuioProfile::Objects)].sessions.size() >= kMaxMarkers;
        return profiles[std::size_t(TuioProfile::Cursors)].sessions.size() +
                   profiles[std::size_t(TuioProfile::Blobs)].sessions.size() >=
               kMaxFingers;
    }

    void write(Kind kind, int index, TuioProfile profile, const TuioSession& session)
    {
        const bool isMarker = profile == TuioProfile::Objects;
        ContactEvent event;
        event.kind = kind;
        event.type = isMarker ? TrackedObject::Type::Marker : TrackedObject::Type::Finger;
        event.listener = sources[std::size_t(index)].listener;
        event.key = {static_cast<std::uint16_t>(index), static_cast<std::uint8_t>(profile), session.id};
        event.position = {session.x, session.y};
        if (isMarker) {
            event.rotationRadians = session.angle;
            event.code = static_cast<std::uint64_t>(session.code);
        }
        events->push_back(event);
    }

    void recount(int index)
    {
        const auto announced = [&](TuioProfile profile) {
            const auto& sessions = sources[std::size_t(index)].profiles[std::size_t(profile)].sessions;
            return static_cast<std::size_t>(
                std::count_if(sessions.begin(), sessions.end(), [](const TuioSession& s) { return s.isAnnounced; }));
        };
        TuioSourceCounters& c = counters.sources[std::size_t(index)];
        c.markers = announced(TuioProfile::Objects);
        c.fingers = announced(TuioProfile::Cursors) + announced(TuioProfile::Blobs);
    }
};

TuioDecoder::TuioDecoder() : d(std::make_unique<Private>()) {}
TuioDecoder::~TuioDecoder() = default;

void TuioDecoder::decode(const Datagram& datagram, std::uint16_t listener, std::vector<ContactEvent>& events)
{
    ++d->counters.packets;
    d->operations.clear();
    d->aliveIds.clear();
    d->unknownMessages = 0;
    d->events = &events;
    const OscRefusal refusal = d->osc.decode(datagram.data, datagram.size, *d);
    d->counters.refusals = d->osc.refusals();

    // A packet that says nothing makes no sender known: rubbish must not push out those that speak.
    TuioSender* sender = refusal == OscRefusal::None && !d->operations.empty()
                             ? &d->senderOf(listener, datagram.sender)
                             : d->findSender(listener, datagram.sender);
    if (refusal != OscRefusal::None) {
        d->count(TuioDrop::Malformed, sender ? sender->source : -1);
        if (d->firstRefused.cause == OscRefusal::None)
            d->firstRefused = {refusal, datagram.sender};
        return;
    }
    if (sender)
        d->apply(*sender);
    const int source = sender ? sender->source : -1;
    if (d->unknownMessages > 0)
        d->count(TuioDrop::UnknownMessage, source, d->unknownMessages);
    if (source < 0)
        return;
    TuioSourceCounters& counters = d->counters.sources[std::size_t(source)];
    ++counters.packets;
    counters.isLost = false;
    ContactEvent seen;
    seen.key.source = static_cast<std::uint16_t>(source);
    events.push_back(seen);
}

void TuioDecoder::countUnread(TuioDrop cause)
{
    ++d->counters.packets;
    d->count(cause, -1);
}

void TuioDecoder::sourceLost(std::uint16_t source)
{
    if (source >= d->sources.size())
        return;
    d->counters.sources[source].isLost = true;
    for (std::size_t i = 0; i < kTuioProfileCount; ++i) {
        TuioProfileState& state = d->sources[source].profiles[i];
        const bool isFinger = static_cast<TuioProfile>(i) != TuioProfile::Objects;
        state.isOrderLost = true;
        state.mustAnnounce = !isFinger;
        for (TuioSession& session : state.sessions) {
            session.isAnnounced = false;
            session.isVoid = isFinger;
        }
    }
    d->recount(source);
}

const TuioCounters& TuioDecoder::counters() const noexcept
{
    return d->counters;
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
