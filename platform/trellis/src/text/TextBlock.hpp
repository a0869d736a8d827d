#pragma once

#include "text/TextFormat.hpp"

#include <Bedrock/Color.hpp>
#include <Vecta/Vector2T.hpp>

#include <QString>
#include <QTextLayout>

namespace Lantern
{
class RenderContext;
}

namespace Trellis
{
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
    void lay(const QString& text, const TextFormat::Pointer& format, float widthPx);
    /// Width of the widest line and height of all, of the last layout.
    [[nodiscard]] Vecta::Vector2f size() const noexcept { return m_size; }
    [[nodiscard]] const QTextLayout& layout() const noexcept { return m_layout; }
    void draw(Lantern::RenderContext& context, Vecta::Vector2f origin, const Bedrock::Color& color) const;
    /// How often any text was laid out since the process began.
    [[nodiscard]] static long layoutsMade() noexcept;

private:
    void build(const QString& text);
    void cut(const QString& shown);

    Wrap m_wrap;
    QString m_text;
    TextFormat::Pointer m_format;
    float m_width = -1.f;
    Vecta::Vector2f m_size;
    QTextLayout m_layout;
};
}
