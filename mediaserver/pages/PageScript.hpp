#pragma once

namespace MediaServer
{

/// The script of a person's page, which shows what changes there without a reload: it asks every few seconds for a newer version
/// and puts its <main> in the place of the one that is shown. It is part of the page's HTML, so it must never contain "</".
extern const char* const kPageScript;

}
