#include "VisitPlayer.hpp"

#include <algorithm>
#include <limits>
#include <utility>

namespace Visit
{
namespace
{
constexpr float kRadiansPerDegree = 0.01745329251994329577f;

/// A contact on its way, in pixels and degrees.
struct Walker
{
    Subject subject;
    int number;
    std::int32_t session;
    float fromX, fromY, fromAngle;
    float toX, toY, toAngle;
    double begin, duration;

    [[nodiscard]] float share(double seconds) const
    {
        if (duration <= 0.0)
            return 1.f;
        return static_cast<float>(std::clamp((seconds - begin) / duration, 0.0, 1.0));
    }
    [[nodiscard]] float x(double seconds) const { return fromX + (toX - fromX) * share(seconds); }
    [[nodiscard]] float y(double seconds) const { return fromY + (toY - fromY) * share(seconds); }
    [[nodiscard]] float angle(double seconds) const { return fromAngle + (toAngle - fromAngle) * share(seconds); }

    void go(const Action& action)
    {
        fromX = x(action.atSeconds);
        fromY = y(action.atSeconds);
        fromAngle = angle(action.atSeconds);
        toX = action.x;
        toY = action.y;
        toAngle = action.angleDegrees.value_or(fromAngle);
        begin = action.atSeconds;
        duration = action.overSeconds;
    }
};
}

Player::Player(Script script) : m_script(std::move(script)) {}

Frame Player::frameAt(double seconds) const
{
    std::vector<Walker> walkers;
    std::int32_t session = 0;
    for (const Action& action : m_script.actions) {
        if (action.atSeconds > seconds)
            break;
        if (action.verb == Verb::Down) {
            const float angle = action.angleDegrees.value_or(0.f);
            walkers.push_back({action.subject, action.number, ++session, action.x, action.y, angle, action.x, action.y, angle,
                               action.atSeconds, 0.0});
            continue;
        }
        const auto found = std::find_if(walkers.begin(), walkers.end(), [&action](const Walker& w) {
            return w.subject == action.subject && w.number == action.number;
        });
        if (found == walkers.end())
            continue;
        if (action.verb == Verb::Move)
            found->go(action);
        else
            walkers.erase(found);
    }
    Frame frame;
    for (const Walker& w : walkers) {
        const Contact contact{w.session, w.number, w.x(seconds) / m_script.width, w.y(seconds) / m_script.height,
                              w.angle(seconds) * kRadiansPerDegree};
        (w.subject == Subject::Finger ? frame.fingers : frame.cards).push_back(contact);
    }
    return frame;
}

double Player::nextActionAfter(double seconds) const
{
    for (const Action& action : m_script.actions)
        if (action.atSeconds > seconds)
            return action.atSeconds;
    return std::numeric_limits<double>::infinity();
}
}
