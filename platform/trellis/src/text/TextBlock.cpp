#include "text/TextBlock.hpp"

#include <Lantern/RenderContext.hpp>

#include <QFontMetricsF>
#include <QTextOption>

#include <algorithm>
#include <cmath>

namespace Trellis
{
namespace
{
/// As wide as no line is.
constexpr qreal kUnlimitedPx = 1e6;
long layoutCount = 0;

Qt::Alignment qtAlignment(TextAlign align, bool isRightToLeft)
{
    switch (align) {
    case TextAlign::Left: return Qt::AlignLeft;
    case TextAlign::Right: return Qt::AlignRight;
    case TextAlign::Center: return Qt::AlignHCenter;
    case TextAlign::Start: return isRightToLeft ? Qt::AlignRight : Qt::AlignLeft;
    case TextAlign::End: return isRightToLeft ? Qt::AlignLeft : Qt::AlignRight;
    }
    return Qt::AlignLeft;
}

/// The text as its lines have it.
QString shownText(const QString& text, WhiteSpace whiteSpace)
{
    QString shown = text;
    shown.replace(QLatin1String("\r\n"), QString(QLatin1Char('\n')));
    if (whiteSpace == WhiteSpace::Normal || whiteSpace == WhiteSpace::NoWrap) {
        shown = shown.simplified();
    } else if (whiteSpace == WhiteSpace::PreLine) {
        QStringList lines = shown.split(QLatin1Char('\n'));
        for (QString& line : lines)
            line = line.simplified();
        shown = lines.join(QLatin1Char('\n'));
    }
    shown.replace(QLatin1Char('\n'), QChar::LineSeparator);
    return shown;
}

/// Each line that is wider than `widthPx` cut, with an ellipsis.
QString cutLines(const QString& shown, const QFont& font, float widthPx)
{
    const QFontMetricsF metrics(font);
    QStringList lines = shown.split(QChar::LineSeparator);
    for (QString& line : lines)
        line = metrics.elidedText(line, Qt::ElideRight, qreal(widthPx));
    return lines.join(QChar::LineSeparator);
}
}

long TextBlock::layoutsMade() noexcept
{
    return layoutCount;
}

void TextBlock::lay(const QString& text, const TextFormat::Pointer& format, float widthPx)
{
    widthPx = std::max(0.f, widthPx);
    if (m_width == widthPx && m_text == text && m_format == format)
        return;
    m_text = text;
    m_format = format;
    m_width = widthPx;
    const TextLook& look = format->look();

    QTextOption option;
    const bool wraps = m_wrap == Wrap::Words && look.wraps();
    option.setWrapMode(wraps ? QTextOption::WrapAtWordBoundaryOrAnywhere : QTextOption::NoWrap);
    // Decided here and not by the layout: a text that is cut keeps the direction of the whole.
    const bool isRightToLeft = text.isRightToLeft();
    option.setTextDirection(isRightToLeft ? Qt::RightToLeft : Qt::LeftToRight);
    option.setUseDesignMetrics(true); // the same lines at every scale
    // A line that never wraps is aligned by the widget that scrolls it.
    option.setAlignment(m_wrap == Wrap::Words ? qtAlignment(look.align, isRightToLeft) : Qt::AlignLeft);
    m_layout.setTextOption(option);
    m_layout.setFont(format->font());
    m_layout.setCacheEnabled(true);

    QString shown = shownText(text, m_wrap == Wrap::Words ? look.whiteSpace : WhiteSpace::PreWrap);
    if (m_wrap == Wrap::Words && !wraps && look.overflow == TextOverflow::Ellipsis)
        shown = cutLines(shown, format->font(), widthPx);
    build(shown);
    if (look.maxLines > 0 && m_wrap == Wrap::Words && m_layout.lineCount() > look.maxLines)
        cut(shown);
}

/// To the most lines there may be.
void TextBlock::cut(const QString& shown)
{
    const int maxLines = m_format->look().maxLines;
    // The rest of the text goes into the last line as far as it fits.
    const int start = m_layout.lineAt(maxLines - 1).textStart();
    QString rest = shown.mid(start);
    const int lineEnd = rest.indexOf(QChar::LineSeparator);
    if (lineEnd >= 0)
        rest = rest.left(lineEnd) + QChar(0x2026);
    QString kept = shown.left(start);
    if (!kept.isEmpty() && !kept.endsWith(QChar::LineSeparator))
        kept += QChar::LineSeparator;
    // Shaped as a whole the line may become a little wider than its parts; one that still wraps is shortened.
    for (float room = m_width;; room -= std::max(1.f, m_width / 50.f)) {
        build(kept + QFontMetricsF(m_format->font()).elidedText(rest, Qt::ElideRight, std::max(0.f, room)));
        if (m_layout.lineCount() <= maxLines || room <= 0.f)
            break;
    }
}

void TextBlock::build(const QString& text)
{
    ++layoutCount;
    m_layout.clearLayout();
    m_layout.setText(text);
    m_layout.beginLayout();
    qreal y = 0.0;
    qreal widest = 0.0;
    const float lineHeight = m_format->look().lineHeight;
    for (QTextLine line = m_layout.createLine(); line.isValid(); line = m_layout.createLine()) {
        line.setLineWidth(m_wrap == Wrap::Words ? qreal(m_width) : kUnlimitedPx);
        // The letters stand in the middle of their line.
        const qreal own = line.height();
        const qreal height = lineHeight > 0.f ? m_format->font().pixelSize() * qreal(lineHeight) : own;
        line.setPosition(QPointF(0.0, y + (height - own) / 2.0));
        y += height;
        widest = std::max(widest, line.naturalTextWidth());
    }
    m_layout.endLayout();
    m_size = {float(widest), float(y)};
}

void TextBlock::draw(Lantern::RenderContext& context, Vecta::Vector2f origin, const Bedrock::Color& color) const
{
    context.drawText(m_layout, origin, color);
}
}
