#include "draw/DrawWork.hpp"

#include <algorithm>

namespace Bench
{
namespace
{
constexpr int kLastFrame = kFramesThereAndBack - 1;

double swing(int frame)
{
    return frame % kFramesThereAndBack < kFramesThereAndBack / 2 ? 1.0 : -1.0;
}

/// Up to the whole and down again; the last frame is left to the whole itself.
double ramp(int frame)
{
    const int at = frame % kFramesThereAndBack;
    return 0.2 + 0.1 * (at < kFramesThereAndBack / 2 ? at + 1 : kLastFrame - at);
}

bool isLast(int frame)
{
    return frame % kFramesThereAndBack == kLastFrame;
}
}

std::vector<DrawWork> groupsWork(int groups)
{
    const auto all = [groups](const std::function<void(int)>& each) {
        for (int i = 0; i < groups; ++i)
            each(i);
    };
    const int middle = groups / 2;
    return {
        {"tile-moved",
         [=](DrawSide& s, int f) {
             s.move(middle, 12, {3.0 * swing(f), 2.0 * swing(f)});
         }},
        {"tile-turned", [=](DrawSide& s, int f) { s.turn(middle, 12, 0.03 * swing(f)); }},
        {"group-moved",
         [=](DrawSide& s, int f) {
             s.move(middle, -1, {3.0 * swing(f), 2.0 * swing(f)});
         }},
        {"all-moved",
         [=](DrawSide& s, int f) { all([&](int i) {
                                       s.move(i, -1, {3.0 * swing(f), (i % 3 - 1.0) * swing(f)});
                                   }); }},
        {"all-turned", [=](DrawSide& s, int f) { all([&](int i) { s.turn(i, -1, 0.01 * swing(f)); }); }},
    };
}

std::vector<DrawWork> tableWork(const DrawScene& scene)
{
    const int first = int(scene.items.size()) - scene.spaces;
    const int picture = first / 2;
    const int space = first + scene.spaces / 2;
    const int top = first + scene.spaces - 1; // nothing lies above its tiles
    const auto each = [=, spaces = scene.spaces](const std::function<void(int)>& visit) {
        for (int i = first; i < first + spaces; ++i)
            visit(i);
    };
    return {
        {"picture-dragged",
         [=](DrawSide& s, int f) {
             s.move(picture, -1, {9.0 * swing(f), 5.0 * swing(f)});
         }},
        {"picture-turned", [=](DrawSide& s, int f) { s.turn(picture, -1, 0.01 * swing(f)); }},
        {"space-dragged",
         [=](DrawSide& s, int f) {
             s.move(space, -1, {9.0 * swing(f), 5.0 * swing(f)});
         }},
        {"space-turned", [=](DrawSide& s, int f) { s.turn(space, -1, 0.01 * swing(f)); }},
        {"eight-fade",
         [=](DrawSide& s, int f) { each([&](int i) { s.setOpacity(i, isLast(f) ? 1.0 : std::min(0.95, ramp(f))); }); }},
        {"eight-grow", [=](DrawSide& s, int f) { each([&](int i) { s.setScale(i, isLast(f) ? 1.0 : ramp(f)); }); }},
        {"tile-moved",
         [=](DrawSide& s, int f) {
             s.move(top, 10, {3.0 * swing(f), 2.0 * swing(f)});
         }},
        {"all-drawn", [=](DrawSide& s, int) { s.damageAll(); }, true},
    };
}
}
