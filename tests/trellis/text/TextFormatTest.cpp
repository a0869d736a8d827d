#include "text/TextFormat.hpp"

#include <doctest/doctest.h>

#include <algorithm>
#include <memory>
#include <vector>

using Trellis::TextAlign;
using Trellis::TextFormat;
using Trellis::TextLook;

TEST_CASE("text format: texts of one look share one, and each difference is another one")
{
    const TextLook look{{QStringLiteral("Inter")}, 20, 400, false, 1.5f, TextAlign::Center, 2};
    const TextFormat::Pointer format = TextFormat::of(look);
    CHECK(TextFormat::of(look) == format);
    CHECK(TextFormat::of(TextLook(look)) == format);
    std::vector<TextLook> others(7, look);
    others[0].families.prepend(QStringLiteral("Serif"));
    others[1].sizePx = 21;
    others[2].weight = 700;
    others[3].isItalic = true;
    others[4].lineHeight = 1.4f;
    others[5].align = TextAlign::Right;
    others[6].maxLines = 3;
    std::vector<TextFormat::Pointer> formats{format};
    for (const TextLook& other : others) {
        formats.push_back(TextFormat::of(other));
        CHECK(formats.back()->look() == other);
        for (std::size_t i = 0; i + 1 < formats.size(); ++i)
            CHECK(formats[i] != formats.back());
    }
    CHECK(TextFormat::of(look) == format);
}

TEST_CASE("text format: stays for a text to come, until many others were asked for; one that a text has stays longer")
{
    const auto lookOf = [](int sizePx) {
        return TextLook{{QStringLiteral("Inter")}, sizePx, 400, false, 0.f, TextAlign::Start, 0};
    };
    const TextFormat::Pointer used = TextFormat::of(lookOf(500));
    const std::weak_ptr<const TextFormat> unused = TextFormat::of(lookOf(501));
    CHECK_FALSE(unused.expired());
    std::vector<std::weak_ptr<const TextFormat>> others;
    for (int i = 1; i <= 2 * TextFormat::kMostUnused; ++i)
        others.push_back(TextFormat::of(lookOf(501 + i)));
    CHECK(unused.expired());
    CHECK(TextFormat::of(lookOf(500)) == used);
    const auto kept = std::count_if(others.begin(), others.end(), [](const auto& format) { return !format.expired(); });
    CHECK(kept <= TextFormat::kMostUnused);
    CHECK_FALSE(others.back().expired());
}

TEST_CASE("text format: the font is as the look says, and has a family that every system has")
{
    const TextFormat::Pointer format = TextFormat::of({{QStringLiteral("Inter")}, 24, 700, true, 0.f, TextAlign::Start, 0});
    CHECK(format->font().pixelSize() == 24);
    CHECK(format->font().weight() == QFont::Bold);
    CHECK(format->font().italic());
    CHECK(format->font().families() == QStringList{QStringLiteral("Inter"), QStringLiteral("sans-serif")});
}
