#pragma once

#include <Bedrock/Export.hpp>

namespace Trellis
{
/// By which rules fonts are chosen: which font a generic name such as `sans-serif` is, and which one has the letters that the
/// named font lacks.
enum class FontRules {
    Machine, ///< those of the machine's desktop
    Table,   ///< kTableFontRules
};

/// Lets the process choose fonts by kTableFontRules from here on, so that texts look the same whatever is set on the machine, and
/// a start need not read dozens of files of rules. Call once, on the main thread, before the first font is used. The machine's
/// rules stay in force where the environment names other ones (FONTCONFIG_FILE, FONTCONFIG_PATH, FONTCONFIG_SYSROOT), and with a
/// warning where the table's cannot be read. Fonts that are installed later are found after the next start.
TAVOLA_EXPORT FontRules useTableFontRules();

/// Those in force. Main thread only.
[[nodiscard]] TAVOLA_EXPORT FontRules fontRules() noexcept;

/// The rules, as fontconfig reads them. They choose the fonts that Debian's rules choose.
extern TAVOLA_EXPORT const char* const kTableFontRules;
}
