#pragma once

#include <Bedrock/Color.hpp>
#include <Vecta/Vector2T.hpp>

#include <QFont>
#include <QString>
#include <QTextLayout>

namespace Lantern
{
class RenderContext;
}

namespace Trellis
{
enum class TextAlign {
    Start, ///< left, or right where the text runs from right to left
    Left,
    Center,
    Right,
    End
};

/// What the lines of a text depend on besides the text and the width.
struct TextFormat
{
    QFont font;
    float lineHeight = 0.f; ///< a multiple of the font's size; 0: as the font wants it
    TextAlign align = TextAlign::Start;
    int maxLines = 0; ///< 0: any number

    friend bool operator==(const TextFormat& a, const TextFormat& b)
    {
        return a.lineHeight == b.lineHeight && a.align == b.align && a.maxLines == b.maxLines && a.font == b.font;
    }
};

/// A text broken into lines, kept until something it depends on changes.
class TextBlock
{
public:
    enum class Wrap {
        Words,
        Never ///< one line, however long; line ends in the text are not expected
    };

    explicit TextBlock(Wrap wrap = Wrap::Words) : m_wrap(wrap) {}

    /// Lays the text out; nothing is done when all is as it was.
    void lay(const QString& text, const TextFormat& format, float widthPx);
    /// Width of the widest line and height of all, of the last layout.
    [[nodiscard]] Vecta::Vector2f size() const noexcept { return m_size; }
    [[nodiscard]] const QTextLayout& layout() const noexcept { return m_layout; }
    void draw(Lantern::RenderContext& context, Vecta::Vector2f origin, const Bedrock::Color& color) const;
    /// How often any text was laid out since the process began.
    [[nodiscard]] static long layoutsMade() noexcept;

private:
    void build(const QString& text);

    Wrap m_wrap;
    QString m_text;
    TextFormat m_format;
    float m_width = -1.f;
    Vecta::Vector2f m_size;
    QTextLayout m_layout;
};
}
