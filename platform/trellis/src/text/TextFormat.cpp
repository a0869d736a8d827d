#include "text/TextFormat.hpp"

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

namespace Trellis
{
namespace
{
/// The font's own scale of boldness runs to 99.
int qtWeight(int weight)
{
    constexpr std::array<int, 9> kWeights{QFont::Thin,     QFont::ExtraLight, QFont::Light,     QFont::Normal, QFont::Medium,
                                          QFont::DemiBold, QFont::Bold,       QFont::ExtraBold, QFont::Black};
    return kWeights[std::size_t(std::clamp((weight + 50) / 100, 1, 9) - 1)];
}

QFont fontOf(const TextLook& look)
{
    QStringList families = look.families;
    if (!families.contains(QStringLiteral("sans-serif")))
        families.append(QStringLiteral("sans-serif"));
    QFont font;
    font.setFamilies(families);
    font.setPixelSize(look.sizePx);
    font.setWeight(qtWeight(look.weight));
    font.setItalic(look.isItalic);
    if (look.letterSpacingPx != 0.f)
        font.setLetterSpacing(QFont::AbsoluteSpacing, qreal(look.letterSpacingPx));
    font.setUnderline(look.decoration == TextDecoration::Underline);
    font.setOverline(look.decoration == TextDecoration::Overline);
    font.setStrikeOut(look.decoration == TextDecoration::LineThrough);
    // Letters keep their shape and place when the widget is turned and scaled.
    font.setHintingPreference(QFont::PreferNoHinting);
    return font;
}
}

TextFormat::TextFormat(const TextLook& look) : m_look(look), m_font(fontOf(look)) {}

TextFormat::Pointer TextFormat::of(const TextLook& look)
{
    // The one asked for last is the first. Never destroyed, as widgets of static objects may go late.
    static auto& formats = *new std::vector<Pointer>;
    auto place = std::find_if(formats.begin(), formats.end(), [&look](const Pointer& known) { return known->m_look == look; });
    if (place == formats.end()) {
        if (formats.size() >= kMostUnused)
            formats.erase(std::remove_if(formats.begin() + kMostUnused / 2, formats.end(),
                                         [](const Pointer& known) { return known.use_count() == 1; }),
                          formats.end());
        place = formats.insert(formats.end(), std::make_shared<const TextFormat>(look));
    }
    std::rotate(formats.begin(), place, place + 1);
    return formats.front();
}
}
