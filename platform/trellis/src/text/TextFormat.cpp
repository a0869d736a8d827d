#include "text/TextFormat.hpp"

#include <algorithm>
#include <array>
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
    // Letters keep their shape and place when the widget is turned and scaled.
    font.setHintingPreference(QFont::PreferNoHinting);
    return font;
}
}

TextFormat::TextFormat(const TextLook& look) : m_look(look), m_font(fontOf(look)) {}

TextFormat::Pointer TextFormat::of(const TextLook& look)
{
    // Few at a time: a style sheet has some dozens. Never destroyed, as widgets of static objects may go late.
    static auto& formats = *new std::vector<std::weak_ptr<const TextFormat>>;
    for (std::size_t i = 0; i < formats.size();) {
        Pointer known = formats[i].lock();
        if (!known) {
            formats[i] = std::move(formats.back());
            formats.pop_back();
            continue;
        }
        if (known->m_look == look) {
            std::swap(formats[i], formats.front()); // texts that look alike are often made in a row
            return known;
        }
        ++i;
    }
    auto made = std::make_shared<const TextFormat>(look);
    formats.push_back(made);
    return made;
}
}
