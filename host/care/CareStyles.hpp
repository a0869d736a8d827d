#pragma once

#include <QString>

namespace Host
{
/// The style sheet of the widgets that the host's care makes, to be added before those of a presentation, which override it.
/// What is tapped is 12 mm wide at least.
[[nodiscard]] QString careStyleSheet(float pixelPitchMm);
/// The style sheet by which the keyboards of what opens at a card follow the card's language, for the languages that have a
/// keyboard.
[[nodiscard]] QString languageKeyboardSheet();
}
