#pragma once

#include <QFont>
#include <QStringList>

#include <memory>

namespace Trellis
{
enum class TextAlign {
    Start, ///< left, or right where the text runs from right to left
    Left,
    Center,
    Right,
    End
};

/// What becomes of blanks and line ends in a text, and whether lines wrap.
enum class WhiteSpace {
    PreWrap, ///< all as they are
    PreLine, ///< blanks run together
    Normal,  ///< line ends are blanks, and these run together
    Pre,     ///< all as they are, and lines do not wrap
    NoWrap   ///< as Normal, and lines do not wrap
};

/// How a line ends that is wider than its room.
enum class TextOverflow { Clip, Ellipsis };

enum class TextDecoration { None, Underline, Overline, LineThrough };

/// What the lines of a text depend on besides the text and the width, as attributes say it.
struct TextLook
{
    QStringList families;
    int sizePx = 16;
    int weight = 400; ///< 100 to 900
    bool isItalic = false;
    float lineHeight = 0.f; ///< a multiple of the font's size; 0: as the font wants it
    TextAlign align = TextAlign::Start;
    int maxLines = 0; ///< 0: any number
    float letterSpacingPx = 0.f;
    TextDecoration decoration = TextDecoration::None;
    WhiteSpace whiteSpace = WhiteSpace::PreWrap;
    TextOverflow overflow = TextOverflow::Clip;

    [[nodiscard]] bool wraps() const { return whiteSpace != WhiteSpace::Pre && whiteSpace != WhiteSpace::NoWrap; }
    friend bool operator==(const TextLook& a, const TextLook& b)
    {
        return a.sizePx == b.sizePx && a.weight == b.weight && a.isItalic == b.isItalic && a.lineHeight == b.lineHeight
            && a.align == b.align && a.maxLines == b.maxLines && a.letterSpacingPx == b.letterSpacingPx
            && a.decoration == b.decoration && a.whiteSpace == b.whiteSpace && a.overflow == b.overflow
            && a.families == b.families;
    }
};

/// A look with its font, shared by all texts that have it. Kept as long as one of them does, and beyond that with the looks that
/// were asked for last: the next space that opens looks like the one before, and a font is slow to find. Main thread only.
class TextFormat
{
public:
    using Pointer = std::shared_ptr<const TextFormat>;
    /// So many are kept for no text, at most.
    static constexpr int kMostUnused = 64;

    [[nodiscard]] static Pointer of(const TextLook& look);

    explicit TextFormat(const TextLook& look);

    [[nodiscard]] const TextLook& look() const noexcept { return m_look; }
    [[nodiscard]] const QFont& font() const noexcept { return m_font; }

private:
    TextLook m_look;
    QFont m_font;
};
}
