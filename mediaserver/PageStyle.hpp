#pragma once

namespace MediaServer
{

/// The style sheet of all pages. It stands inside the page, so it must never contain "</".
extern const char* const kPageStyle;

} // namespace MediaServer
