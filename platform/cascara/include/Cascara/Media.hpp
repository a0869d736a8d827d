#pragma once

namespace Cascara
{
/// What `@media` asks for.
struct Media
{
    float widthPx = 1920.f;
    float heightPx = 1080.f;
    bool reducesMotion = false; ///< `prefers-reduced-motion`
};
}
