#include "tuio/TuioContacts.hpp"

#include "contacts/FindInOrder.hpp"
#include "tuio/TuioSources.hpp"

#include <Tactile/TuioDecoder.hpp>
#include <Vecta/Angle.hpp>

#include <algorithm>
#include <cmath>

namespace Tactile
{
namespace
{
using EventKind = ContactEvent::Kind;

constexpr float kMargin = 0.05f; // calibration may put the rim of the surface slightly outside 0..1
constexpr std::size_t kMaxSymbols = TuioDecoder::kMaxMarkers;

bool isAlive(const TuioChannelState& state, std::int32_t session)
{
    return std::binary_search(state.alive.begin(), state.alive.end(), session);
}

TuioSession* findSession(TuioChannelState& state, std::int32_t id)
{
    return findInOrder(state.sessions, state.nextSession, [id](const TuioSession& s) { return s.id == id; });
}

TuioSymbol* findSymbol(TuioChannelState& state, std::int32_t session)
{
    const auto found =
        std::find_if(state.symbols.begin(), state.symbols.end(), [session](const TuioSymbol& s) { return s.session == session; });
    return found == state.symbols.end() ? nullptr : &*found;
}
}

bool TuioContacts::beginFrame(int source, TuioChannel channel, std::int32_t frame, bool isNear)
{
    TuioChannelState& state = m_sources.source(source).channel(channel);
    if (state.hasFrame && frame < state.lastFrame) {
        if (isNear && !state.isOrderLost) {
            m_sources.count(TuioDrop::Late, source);
            return false;
        }
        restart(source, channel);
    }
    state.hasFrame = true;
    state.isOrderLost = false;
    state.lastFrame = frame;
    return true;
}

void TuioContacts::restart(int source, TuioChannel channel)
{
    TuioChannelState& state = m_sources.source(source).channel(channel);
    for (const TuioSession& session : state.sessions)
        if (session.isAnnounced)
            write(EventKind::Cancel, source, channel, session);
    state.sessions.clear();
    state.symbols.clear();
    state.alive.clear();
}

void TuioContacts::applyAlive(int source, TuioChannel channel, std::vector<std::int32_t>& alive)
{
    TuioChannelState& state = m_sources.source(source).channel(channel);
    std::sort(alive.begin(), alive.end());
    alive.erase(std::unique(alive.begin(), alive.end()), alive.end());
    if (alive == state.alive)
        return;
    state.alive.swap(alive);
    auto kept = state.sessions.begin();
    for (TuioSession& session : state.sessions) {
        if (isAlive(state, session.id))
            *kept++ = session;
        else if (session.isAnnounced)
            write(EventKind::Vanish, source, channel, session);
    }
    state.sessions.erase(kept, state.sessions.end());
    state.symbols.erase(std::remove_if(state.symbols.begin(), state.symbols.end(),
                                       [&state](const TuioSymbol& s) { return !isAlive(state, s.session); }),
                        state.symbols.end());
}

void TuioContacts::applySet(int source, TuioChannel channel, const TuioSet& given)
{
    TuioSet set = given;
    TuioChannelState& state = m_sources.source(source).channel(channel);
    if (!std::isfinite(set.x) || !std::isfinite(set.y) || !std::isfinite(set.angle))
        return m_sources.count(TuioDrop::NotFinite, source);
    const auto isNear = [](float v) { return v >= -kMargin && v <= 1.f + kMargin; };
    if (!isNear(set.x) || !isNear(set.y) || set.code < 0)
        return m_sources.count(TuioDrop::OutOfRange, source);
    // What has a session is alive.
    TuioSession* session = findSession(state, set.session);
    if (!session && !isAlive(state, set.session))
        return m_sources.count(TuioDrop::NotAlive, source);
    if (set.shape == TuioShape::Symbol)
        return applySymbol(source, channel, set);
    if (const TuioSymbol* symbol = set.shape == TuioShape::Area ? findSymbol(state, set.session) : nullptr) {
        set.shape = TuioShape::Symbol;
        set.code = symbol->code;
    }

    set.x = std::clamp(set.x, 0.f, 1.f);
    set.y = std::clamp(set.y, 0.f, 1.f);
    set.angle = Vecta::wrappedAngle(set.angle);
    const bool isMarker = isMarkerShape(set.shape);
    const TuioDrop cap = isMarker ? TuioDrop::MarkerCap : TuioDrop::FingerCap;
    if (!session) {
        if (isFull(source, isMarker))
            return m_sources.count(cap, source);
        state.sessions.push_back({set.shape, set.session, set.code, set.x, set.y, set.angle, false, false});
        return announce(source, channel, state.sessions.back());
    }
    if (set.shape < session->shape)
        return; // a less informative shape of the same session
    if (isMarker != isMarkerShape(session->shape) && isFull(source, isMarker))
        return m_sources.count(cap, source);
    reshape(source, channel, *session, set.shape);
    if (session->isVoid)
        return;
    if (session->isAnnounced && session->code != set.code) {
        // The sender read another code: another card.
        write(EventKind::Vanish, source, channel, *session);
        session->isAnnounced = false;
    }
    const bool isChanged = session->x != set.x || session->y != set.y || session->angle != set.angle;
    session->code = set.code;
    session->x = set.x;
    session->y = set.y;
    session->angle = set.angle;
    if (!session->isAnnounced)
        announce(source, channel, *session);
    else if (isChanged)
        write(EventKind::Move, source, channel, *session);
}

void TuioContacts::applySymbol(int source, TuioChannel channel, const TuioSet& set)
{
    TuioChannelState& state = m_sources.source(source).channel(channel);
    if (TuioSymbol* known = findSymbol(state, set.session))
        known->code = set.code;
    else if (state.symbols.size() < kMaxSymbols)
        state.symbols.push_back({set.session, set.code});
    else
        return m_sources.count(TuioDrop::MarkerCap, source);
    // An area reported before is the place of this symbol.
    const TuioSession* session = findSession(state, set.session);
    if (session && (session->shape == TuioShape::Area || session->shape == TuioShape::Symbol))
        applySet(source, channel, {TuioShape::Area, session->id, 0, session->x, session->y, session->angle});
}

/// A finger that turns out to be a card is cancelled, and a card that turns out to be a finger.
void TuioContacts::reshape(int source, TuioChannel channel, TuioSession& session, TuioShape shape)
{
    if (isMarkerShape(shape) != isMarkerShape(session.shape)) {
        if (session.isAnnounced)
            write(EventKind::Cancel, source, channel, session);
        session.isAnnounced = false;
        session.isVoid = false;
    }
    session.shape = shape;
}

void TuioContacts::endFrame(int source, TuioChannel channel)
{
    TuioChannelState& state = m_sources.source(source).channel(channel);
    ++m_sources.countersOf(source).frames;
    if (state.mustAnnounce) {
        for (TuioSession& session : state.sessions)
            announce(source, channel, session);
        state.mustAnnounce = false;
    }
    recount(source);
}

void TuioContacts::announce(int source, TuioChannel channel, TuioSession& session)
{
    if (session.isAnnounced || session.isVoid)
        return;
    session.isAnnounced = true;
    write(EventKind::Appear, source, channel, session);
}

bool TuioContacts::isFull(int source, bool isMarker) const
{
    std::size_t count = 0;
    for (const TuioChannelState& state : m_sources.source(source).channels)
        for (const TuioSession& session : state.sessions)
            count += isMarkerShape(session.shape) == isMarker ? 1 : 0;
    return count >= (isMarker ? TuioDecoder::kMaxMarkers : TuioDecoder::kMaxFingers);
}

void TuioContacts::write(EventKind kind, int source, TuioChannel channel, const TuioSession& session)
{
    const bool isMarker = isMarkerShape(session.shape);
    ContactEvent event;
    event.kind = kind;
    event.type = isMarker ? TrackedObject::Type::Marker : TrackedObject::Type::Finger;
    event.listener = m_sources.source(source).listener;
    event.key = {static_cast<std::uint16_t>(source), static_cast<std::uint8_t>(channel), session.id};
    event.position = {session.x, session.y};
    if (isMarker) {
        event.rotationRadians = session.angle;
        event.code = static_cast<std::uint64_t>(session.code);
    }
    m_events->push_back(event);
}

void TuioContacts::recount(int source)
{
    TuioSourceCounters& counters = m_sources.countersOf(source);
    counters.markers = counters.fingers = 0;
    for (const TuioChannelState& state : m_sources.source(source).channels)
        for (const TuioSession& session : state.sessions)
            if (session.isAnnounced)
                ++(isMarkerShape(session.shape) ? counters.markers : counters.fingers);
}

void TuioContacts::sourceLost(int source)
{
    m_sources.countersOf(source).isLost = true;
    for (TuioChannelState& state : m_sources.source(source).channels) {
        state.isOrderLost = true;
        state.mustAnnounce = true;
        for (TuioSession& session : state.sessions) {
            session.isAnnounced = false;
            session.isVoid = !isMarkerShape(session.shape);
        }
    }
    recount(source);
}
}
