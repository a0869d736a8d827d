#include <Trellis/FontRules.hpp>

#include <Bedrock/Trace.hpp>

#include <cstdlib>
#include <fontconfig/fontconfig.h>

namespace Trellis
{
namespace
{
FontRules currentRules = FontRules::Machine;

bool isSet(const char* variable)
{
    const char* const value = std::getenv(variable);
    return value && *value;
}

/// False when one of the steps fails. `FcInit` would also read the descriptions of all rules that the machine might use.
bool setRules()
{
    FcConfig* const config = FcConfigCreate();
    if (!config)
        return false;
    const bool isUsed =
        FcConfigParseAndLoadFromMemory(config, reinterpret_cast<const FcChar8*>(kTableFontRules), FcTrue) // NOLINT
        && FcConfigBuildFonts(config) && FcConfigSetCurrent(config);
    FcConfigDestroy(config); // which the library counts
    return isUsed;
}
}

FontRules useTableFontRules()
{
    if (isSet("FONTCONFIG_FILE") || isSet("FONTCONFIG_PATH") || isSet("FONTCONFIG_SYSROOT"))
        return currentRules;
    if (setRules())
        currentRules = FontRules::Table;
    else
        Bedrock::Trace::warning("FontRules # the table's rules for fonts cannot be used; those of the machine are");
    return currentRules;
}

FontRules fontRules() noexcept
{
    return currentRules;
}

// Folders and caches are those of Debian. A changed folder of fonts is not read again while the table runs: Qt keeps its list of
// families, and fontconfig would go back to the machine's rules. Each alias has one family, as the format wants it.
// `accept` and `default` come after a family, the former first, `prefer` before it.
const char* const kTableFontRules = R"xml(<?xml version="1.0"?>
<fontconfig>
<dir>/usr/share/fonts</dir>
<dir>/usr/local/share/fonts</dir>
<dir prefix="xdg">fonts</dir>
<dir>~/.fonts</dir>
<cachedir>/var/cache/fontconfig</cachedir>
<cachedir prefix="xdg">fontconfig</cachedir>
<config><rescan><int>0</int></rescan></config>

<!-- Fonts of bitmaps cannot be turned, and files that are being installed are no fonts yet. -->
<selectfont><rejectfont>
  <pattern><patelt name="scalable"><bool>false</bool></patelt></pattern>
  <glob>*.dpkg-tmp</glob>
  <glob>*.dpkg-new</glob>
</rejectfont></selectfont>

<match>
  <edit name="antialias" mode="append"><bool>true</bool></edit>
  <edit name="hintstyle" mode="append"><const>hintslight</const></edit>
  <edit name="lcdfilter" mode="append"><const>lcddefault</const></edit>
</match>

<!-- Other spellings of generic names -->
<match><test name="family"><string>mono</string></test>
  <edit name="family" mode="assign" binding="same"><string>monospace</string></edit></match>
<match><test name="family"><string>sans</string></test>
  <edit name="family" mode="assign" binding="same"><string>sans-serif</string></edit></match>
<match><test name="family"><string>sans serif</string></test>
  <edit name="family" mode="assign" binding="same"><string>sans-serif</string></edit></match>
<match><test name="family"><string>system ui</string></test>
  <edit name="family" mode="assign" binding="same"><string>system-ui</string></edit></match>

<!-- Free fonts with the widths of fonts that authors name -->
<alias binding="same"><family>Arial</family><accept><family>Arimo</family><family>Liberation Sans</family></accept></alias>
<alias binding="same"><family>Arial Narrow</family><accept><family>Liberation Sans Narrow</family></accept></alias>
<alias binding="same"><family>Helvetica</family><accept>
  <family>Nimbus Sans</family><family>TeX Gyre Heros</family></accept></alias>
<alias binding="same"><family>Times New Roman</family><accept>
  <family>Tinos</family><family>Liberation Serif</family></accept></alias>
<alias binding="same"><family>Times</family><accept><family>Nimbus Roman</family><family>TeX Gyre Termes</family></accept></alias>
<alias binding="same"><family>Courier New</family><accept>
  <family>Cousine</family><family>Liberation Mono</family></accept></alias>
<alias binding="same"><family>Courier</family><accept>
  <family>Nimbus Mono PS</family><family>TeX Gyre Cursor</family></accept></alias>
<alias binding="same"><family>Palatino Linotype</family><accept><family>Palatino</family></accept></alias>
<alias binding="same"><family>Palatino</family><accept><family>P052</family><family>TeX Gyre Pagella</family></accept></alias>
<alias binding="same"><family>Georgia</family><accept><family>Gelasio</family></accept></alias>
<alias binding="same"><family>Cambria</family><accept><family>Caladea</family></accept></alias>
<alias binding="same"><family>Calibri</family><accept><family>Carlito</family></accept></alias>
<alias binding="same"><family>Bitstream Vera Sans</family><accept><family>DejaVu Sans</family></accept></alias>
<alias binding="same"><family>Bitstream Vera Serif</family><accept><family>DejaVu Serif</family></accept></alias>
<alias binding="same"><family>Bitstream Vera Sans Mono</family><accept><family>DejaVu Sans Mono</family></accept></alias>
<alias><family>Arial</family><default><family>Helvetica</family></default></alias>
<alias><family>Helvetica</family><default><family>Arial</family></default></alias>
<alias><family>Times New Roman</family><default><family>Times</family></default></alias>
<alias><family>Times</family><default><family>Times New Roman</family></default></alias>
<alias><family>Courier New</family><default><family>Courier</family></default></alias>
<alias><family>Courier</family><default><family>Courier New</family></default></alias>

<!-- The kinds of well-known fonts, where they are missing. Others are sans-serif. -->
<alias><family>Times</family><default><family>serif</family></default></alias>
<alias><family>Georgia</family><default><family>serif</family></default></alias>
<alias><family>Cambria</family><default><family>serif</family></default></alias>
<alias><family>Constantia</family><default><family>serif</family></default></alias>
<alias><family>Garamond</family><default><family>serif</family></default></alias>
<alias><family>Palatino</family><default><family>serif</family></default></alias>
<alias><family>DejaVu Serif</family><default><family>serif</family></default></alias>
<alias><family>Liberation Serif</family><default><family>serif</family></default></alias>
<alias><family>Nimbus Roman</family><default><family>serif</family></default></alias>
<alias><family>Courier</family><default><family>monospace</family></default></alias>
<alias><family>Consolas</family><default><family>monospace</family></default></alias>
<alias><family>Inconsolata</family><default><family>monospace</family></default></alias>
<alias><family>Andale Mono</family><default><family>monospace</family></default></alias>
<alias><family>DejaVu Sans Mono</family><default><family>monospace</family></default></alias>
<alias><family>Liberation Mono</family><default><family>monospace</family></default></alias>
<alias><family>Nimbus Mono PS</family><default><family>monospace</family></default></alias>
<alias><family>Comic Sans MS</family><default><family>cursive</family></default></alias>
<alias><family>Zapfino</family><default><family>cursive</family></default></alias>
<alias><family>Impact</family><default><family>fantasy</family></default></alias>
<alias><family>Cantarell</family><default><family>system-ui</family></default></alias>
<alias><family>Segoe UI</family><default><family>system-ui</family></default></alias>
<match><test name="family"><string>emoji</string></test>
  <edit name="lang" mode="prepend"><string>und-zsye</string></edit></match>
<match><test name="family"><string>math</string></test>
  <edit name="lang" mode="prepend"><string>und-zmth</string></edit></match>
<match>
  <test qual="all" name="family" compare="not_eq"><string>sans-serif</string></test>
  <test qual="all" name="family" compare="not_eq"><string>serif</string></test>
  <test qual="all" name="family" compare="not_eq"><string>monospace</string></test>
  <edit name="family" mode="append_last"><string>sans-serif</string></edit>
</match>

<!-- What is set for this machine and its user, before the preferences, as on any Debian -->
<include ignore_missing="yes" prefix="xdg">fontconfig/conf.d</include>
<include ignore_missing="yes" prefix="xdg">fontconfig/fonts.conf</include>
<include ignore_missing="yes">/etc/fonts/local.conf</include>

<!-- Debian's fonts of all scripts, in the order in which it prefers them -->
<alias><family>serif</family><prefer>
  <family>Noto Serif</family><family>DejaVu Serif</family><family>Times New Roman</family><family>Nimbus Roman</family>
  <family>Times</family><family>Kinnari</family><family>Norasi</family><family>Frank Ruehl CLM</family>
  <family>WenQuanYi Zen Hei</family><family>IPAMincho</family><family>NanumMyeongjo</family><family>UnBatang</family>
  <family>KacstQura</family><family>Lohit Bengali</family><family>Lohit Gujarati</family><family>Lohit Hindi</family>
  <family>Lohit Marathi</family><family>Lohit Nepali</family><family>Lohit Punjabi</family><family>Lohit Tamil</family>
  <family>Rachana</family><family>Lohit Malayalam</family><family>Lohit Kannada</family><family>Lohit Telugu</family>
  <family>Lohit Oriya</family><family>LKLUG</family><family>FreeSerif</family></prefer></alias>
<alias><family>sans-serif</family><prefer>
  <family>Noto Sans</family><family>DejaVu Sans</family><family>Verdana</family><family>Arial</family><family>Nimbus Sans</family>
  <family>Helvetica</family><family>Tahoma</family><family>Nachlieli</family><family>Waree</family><family>Loma</family>
  <family>Garuda</family><family>Umpush</family><family>WenQuanYi Zen Hei</family><family>VL Gothic</family>
  <family>IPAGothic</family><family>NanumGothic</family><family>UnDotum</family><family>KacstQura</family>
  <family>Lohit Bengali</family><family>Lohit Gujarati</family><family>Lohit Hindi</family><family>Lohit Marathi</family>
  <family>Lohit Nepali</family><family>Lohit Punjabi</family><family>Lohit Tamil</family><family>Meera</family>
  <family>Lohit Malayalam</family><family>Lohit Kannada</family><family>Lohit Telugu</family><family>Lohit Oriya</family>
  <family>LKLUG</family><family>FreeSans</family></prefer></alias>
<alias><family>monospace</family><prefer>
  <family>Noto Sans Mono</family><family>DejaVu Sans Mono</family><family>Inconsolata</family><family>Andale Mono</family>
  <family>Courier New</family><family>Nimbus Mono PS</family><family>Courier</family><family>Miriam Mono CLM</family>
  <family>VL Gothic</family><family>IPAGothic</family><family>NanumGothicCoding</family><family>NanumGothic</family>
  <family>UnDotum</family><family>Tlwg Mono</family><family>Lohit Bengali</family><family>Lohit Gujarati</family>
  <family>Lohit Hindi</family><family>Lohit Marathi</family><family>Lohit Nepali</family><family>Lohit Punjabi</family>
  <family>Lohit Tamil</family><family>Meera</family><family>Lohit Malayalam</family><family>Lohit Kannada</family>
  <family>Lohit Telugu</family><family>Lohit Oriya</family><family>LKLUG</family><family>FreeMono</family></prefer></alias>
<alias><family>cursive</family><prefer><family>Zapfino</family><family>Comic Sans MS</family></prefer></alias>
<alias><family>fantasy</family><prefer><family>Impact</family></prefer></alias>
<alias><family>system-ui</family><prefer><family>Cantarell</family><family>Segoe UI</family></prefer></alias>
<alias><family>emoji</family><prefer><family>Noto Color Emoji</family><family>Noto Emoji</family></prefer></alias>

<!-- Han characters have other shapes in each language -->
<match><test name="lang"><string>ja</string></test><test name="family"><string>serif</string></test>
  <edit name="family" mode="prepend"><string>Noto Serif CJK JP</string></edit></match>
<match><test name="lang"><string>ko</string></test><test name="family"><string>serif</string></test>
  <edit name="family" mode="prepend"><string>Noto Serif CJK KR</string></edit></match>
<match><test name="lang"><string>zh-cn</string></test><test name="family"><string>serif</string></test>
  <edit name="family" mode="prepend" binding="strong"><string>Noto Serif CJK SC</string></edit></match>
<match><test name="lang"><string>zh-tw</string></test><test name="family"><string>serif</string></test>
  <edit name="family" mode="prepend" binding="strong"><string>Noto Serif CJK TC</string></edit></match>
<match><test name="lang"><string>zh-hk</string></test><test name="family"><string>serif</string></test>
  <edit name="family" mode="prepend" binding="strong"><string>Noto Serif CJK HK</string></edit></match>
<match><test name="lang"><string>ja</string></test><test name="family"><string>sans-serif</string></test>
  <edit name="family" mode="prepend"><string>Noto Sans CJK JP</string></edit></match>
<match><test name="lang"><string>ko</string></test><test name="family"><string>sans-serif</string></test>
  <edit name="family" mode="prepend"><string>Noto Sans CJK KR</string></edit></match>
<match><test name="lang"><string>zh-cn</string></test><test name="family"><string>sans-serif</string></test>
  <edit name="family" mode="prepend" binding="strong"><string>Noto Sans CJK SC</string></edit></match>
<match><test name="lang"><string>zh-tw</string></test><test name="family"><string>sans-serif</string></test>
  <edit name="family" mode="prepend" binding="strong"><string>Noto Sans CJK TC</string></edit></match>
<match><test name="lang"><string>zh-hk</string></test><test name="family"><string>sans-serif</string></test>
  <edit name="family" mode="prepend" binding="strong"><string>Noto Sans CJK HK</string></edit></match>
<match><test name="lang"><string>ja</string></test><test name="family"><string>monospace</string></test>
  <edit name="family" mode="prepend"><string>Noto Sans Mono CJK JP</string></edit></match>
<match><test name="lang"><string>ko</string></test><test name="family"><string>monospace</string></test>
  <edit name="family" mode="prepend"><string>Noto Sans Mono CJK KR</string></edit></match>
<match><test name="lang"><string>zh-cn</string></test><test name="family"><string>monospace</string></test>
  <edit name="family" mode="prepend" binding="strong"><string>Noto Sans Mono CJK SC</string></edit></match>
<match><test name="lang"><string>zh-tw</string></test><test name="family"><string>monospace</string></test>
  <edit name="family" mode="prepend" binding="strong"><string>Noto Sans Mono CJK TC</string></edit></match>
<match><test name="lang"><string>zh-hk</string></test><test name="family"><string>monospace</string></test>
  <edit name="family" mode="prepend" binding="strong"><string>Noto Sans Mono CJK HK</string></edit></match>
</fontconfig>
)xml";
}
