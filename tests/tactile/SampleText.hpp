#pragma once

#include <Tactile/Sample.hpp>

#include <sstream>
#include <string>

/// Everything that a frame says, to the last bit.
inline std::string describe(const Tactile::Sample& sample)
{
    std::ostringstream text;
    text << std::hexfloat;
    const auto object = [&text](const Tactile::TrackedObject& o) {
        text << ' ' << o.id() << ' ' << o.code() << ' ' << o.centerLocation().x << ' ' << o.centerLocation().y << ' '
             << o.rotation() << ';';
    };
    for (const auto& change : sample.changes) {
        text << "change " << static_cast<int>(change.kind);
        object(change.object);
    }
    for (const auto& finger : sample.fingers)
        object(finger);
    for (const auto& marker : sample.markers)
        object(marker);
    return text.str();
}
