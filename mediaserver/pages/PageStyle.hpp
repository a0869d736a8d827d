#pragma once

namespace MediaServer
{

/// The style sheet of all pages. It is part of the page's HTML, so it must never contain "</".
extern const char* const kPageStyle;

}
