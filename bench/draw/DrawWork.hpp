#pragma once

#include "draw/DrawSide.hpp"

#include <functional>
#include <vector>

namespace Bench
{
/// What is measured on a scene: a change before each frame. It goes there and back again, so that the scene stays where it is:
/// half of `kFramesThereAndBack` one way, the other half back.
struct DrawWork
{
    const char* name;
    std::function<void(DrawSide&, int frame)> step;
    bool isAll = false; ///< damages all there is
};

inline constexpr int kFramesThereAndBack = 16;

/// Of a groupsScene() with so many groups.
[[nodiscard]] std::vector<DrawWork> groupsWork(int groups);
/// Of a tableScene().
[[nodiscard]] std::vector<DrawWork> tableWork(const DrawScene& scene);
}
