#pragma once

class QProcessEnvironment;

namespace Host
{
/// Whether there is a screen for windows: that of a desktop (DISPLAY, WAYLAND_DISPLAY), or one that Qt uses without a desktop
/// (QT_QPA_PLATFORM: eglfs, linuxfb). QT_QPA_PLATFORM comes first.
[[nodiscard]] bool hasDisplay(const QProcessEnvironment& environment);
}
