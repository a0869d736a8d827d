#pragma once

#include <Tactile/InputSource.hpp>
#include <Tactile/Sample.hpp>

#include <algorithm>
#include <cassert>
#include <cstdint>
#include <map>
#include <utility>
#include <vector>

namespace TestSupport
{
/// Fingers and cards moved by a test. Everything said since the frame before arrives with the next readSample, in the order
/// in which it was said; nothing is dropped, merged, held or smoothed. Main thread only.
///
///     ScriptedInput input;
///     input.fingerDown(1, {300, 400});
///     app.frame();                                  // one Down
///     input.fingerMove(1, {500, 400});
///     input.fingerUp(1);
///     app.frame();                                  // a Move and an Up
///     const auto card = input.markerDown(1001, {960, 540});
///
/// A finger's id is the test's own (1 … 999). A card is named by the id that markerDown returns; like on a real table a
/// code keeps its id when it comes back, unless a card of that code lies on the table already.
class ScriptedInput final : public Tactile::InputSource
{
public:
    static constexpr std::int64_t kFirstMarkerId = 1000;

    void fingerDown(std::int64_t id, Vecta::Vector2f point)
    {
        assert(id > 0 && id < kFirstMarkerId && "finger ids of a script are 1 to 999");
        assert(m_fingers.count(id) == 0 && "this finger is down already");
        m_fingers.emplace(id, finger(id, point));
        push(Kind::Down, finger(id, point));
    }
    void fingerMove(std::int64_t id, Vecta::Vector2f point)
    {
        assert(m_fingers.count(id) == 1 && "this finger is not down");
        m_fingers[id].setCenterLocation(point);
        push(Kind::Move, m_fingers[id]);
    }
    void fingerUp(std::int64_t id) { endFinger(id, Kind::Up); }
    /// What a lost sender does to its fingers: ends the touch, and is no tap.
    void fingerCancel(std::int64_t id) { endFinger(id, Kind::Cancel); }
    /// Down and up at one point, both in the next frame.
    void tap(std::int64_t id, Vecta::Vector2f point)
    {
        fingerDown(id, point);
        fingerUp(id);
    }

    /// The id of the card on the table.
    std::int64_t markerDown(std::uint64_t code, Vecta::Vector2f point, float rotationRadians = 0.f)
    {
        const Tactile::Marker marker(idForCode(code), code, point, rotationRadians);
        m_markers.push_back(marker);
        push(Kind::Down, marker);
        return marker.id();
    }
    void markerMove(std::int64_t id, Vecta::Vector2f point)
    {
        auto& marker = markerOnTable(id);
        marker.setCenterLocation(point);
        push(Kind::Move, marker);
    }
    void markerMove(std::int64_t id, Vecta::Vector2f point, float rotationRadians)
    {
        auto& marker = markerOnTable(id);
        marker.setCenterLocation(point);
        marker.setRotation(rotationRadians);
        push(Kind::Move, marker);
    }
    void markerUp(std::int64_t id)
    {
        auto& marker = markerOnTable(id);
        push(Kind::Up, marker);
        m_markers.erase(m_markers.begin() + (&marker - m_markers.data()));
    }

    void readSample(double /*nowSeconds*/, Tactile::Sample& sample) override
    {
        sample.clear();
        for (const auto& [id, object] : m_fingers)
            sample.fingers.push_back(object);
        sample.markers = m_markers;
        sample.changes.swap(m_changes);
        m_changes.clear();
        ++m_samplesTaken;
    }

    [[nodiscard]] int samplesTaken() const { return m_samplesTaken; }

private:
    using Kind = Tactile::InputChange::Kind;

    static Tactile::TrackedObject finger(std::int64_t id, Vecta::Vector2f point)
    {
        return {Tactile::TrackedObject::Type::Finger, id, point};
    }
    void push(Kind kind, const Tactile::TrackedObject& object) { m_changes.push_back({kind, object}); }
    void endFinger(std::int64_t id, Kind kind)
    {
        const auto found = m_fingers.find(id);
        assert(found != m_fingers.end() && "this finger is not down");
        push(kind, found->second);
        m_fingers.erase(found);
    }
    [[nodiscard]] bool isOnTable(std::int64_t id) const
    {
        return std::any_of(m_markers.begin(), m_markers.end(), [id](const auto& m) { return m.id() == id; });
    }
    Tactile::Marker& markerOnTable(std::int64_t id)
    {
        const auto found = std::find_if(m_markers.begin(), m_markers.end(), [id](const auto& m) { return m.id() == id; });
        assert(found != m_markers.end() && "this card is not on the table");
        return *found;
    }
    std::int64_t idForCode(std::uint64_t code)
    {
        for (const std::int64_t id : m_idsByCode[code])
            if (!isOnTable(id))
                return id;
        m_idsByCode[code].push_back(m_nextMarkerId);
        return m_nextMarkerId++;
    }

    std::map<std::int64_t, Tactile::TrackedObject> m_fingers;
    std::vector<Tactile::Marker> m_markers;
    std::vector<Tactile::InputChange> m_changes;
    std::map<std::uint64_t, std::vector<std::int64_t>> m_idsByCode;
    std::int64_t m_nextMarkerId = kFirstMarkerId;
    int m_samplesTaken = 0;
};
}
