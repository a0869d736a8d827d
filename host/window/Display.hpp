#pragma once

class QProcessEnvironment;

namespace Host
{
/// Whether windows have a screen to be on: a desktop's (DISPLAY, WAYLAND_DISPLAY), or one that Qt is told to use without a
/// desktop (QT_QPA_PLATFORM: eglfs, linuxfb). What Qt is told comes first.
[[nodiscard]] bool hasDisplay(const QProcessEnvironment& environment);
}
