#pragma once

#include "tree/Outline.hpp"

#include <Lantern/KeptPicture.hpp>

#include <Vecta/Vector2T.hpp>

namespace Trellis
{
/// The kept picture of a widget and everything in it, turned and scaled as it stands. Written by LayerKeeper and DamageTracker.
/// Belongs to the widget's drawing record and dies when the widget leaves the tree.
struct WidgetLayer
{
    explicit WidgetLayer(Lantern::PictureStore& store) : picture(store) {}

    Lantern::KeptPicture picture; ///< around the widget's top left corner
    float matrix[4] = {};         ///< direction and scale on the screen when last accounted for
    Vecta::Vector2f place;        ///< of the corner in the scene when last accounted for
    Outline outline;              ///< of all that showed in the scene when last accounted for, around `place`
    bool shows = false;           ///< when last accounted for
    bool isSharp = false;         ///< one upright box, when last accounted for
    bool clips = false;           ///< the children, when last accounted for
    bool isChanged = false;       ///< something in it, since what it reaches over was last accounted for
    bool isWaiting = false;       ///< is kept from the next frame on if it is not turned or scaled until then
    bool isKept = false;          ///< is drawn as one picture
};
}
