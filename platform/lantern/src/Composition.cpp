#include "Composition.hpp"

#include <Bedrock/Prefetch.hpp>
#include <Lantern/PaintingThreads.hpp>

#include <QImage>
#include <QVarLengthArray>

#include <algorithm>
#include <array>

namespace Lantern
{
namespace
{
/// A row that is cut into more pieces is drawn with something hidden in it.
constexpr int kMostPieces = 12;
/// Narrower things hide too little.
constexpr int kLeastHiddenPx = 24;
/// In so few columns it takes longer to find out what is hidden than to draw it.
constexpr int kNarrowPx = 64;
/// Each row lies in another page, of which the processor knows nothing before it gets there: where drawing will begin and end
/// there is loaded so many rows before.
constexpr int kTargetRowsAhead = 4;
constexpr std::size_t kFirstBytes = 256, kLastBytes = 64;
/// Of a row.
constexpr int kUsualRuns = 64;
constexpr int kStripRows = 32;
constexpr int kLeastStripRows = 4;
constexpr int kStripsPerThread = 4;

using Sources = std::vector<std::unique_ptr<PixelSource>>;

struct Target
{
    uchar* bits;
    qsizetype bytesPerLine;
};

/// Columns of one row, half-open.
struct Piece
{
    int begin, end;
};

/// Of a row. Cutting adds at most one, and is done up to kMostPieces.
class Pieces
{
public:
    explicit Pieces(const Piece& whole) { append(whole); }
    void append(const Piece& piece) { m_pieces[std::size_t(m_count++)] = piece; }
    /// Cuts the columns of `hidden` out.
    void cut(const Piece& hidden);
    [[nodiscard]] int count() const { return m_count; }
    [[nodiscard]] const Piece* begin() const { return m_pieces.data(); }
    [[nodiscard]] const Piece* end() const { return m_pieces.data() + m_count; }

private:
    std::array<Piece, kMostPieces + 2> m_pieces;
    int m_count = 0;
};

struct Run
{
    const PixelSource* source;
    int begin, end;
    PixelSpan span;
};

void Pieces::cut(const Piece& hidden)
{
    Piece rest[kMostPieces + 2];
    int count = 0;
    for (const Piece& piece : *this) {
        if (const int end = std::min(piece.end, hidden.begin); piece.begin < end)
            rest[count++] = {piece.begin, end};
        if (const int begin = std::max(piece.begin, hidden.end); begin < piece.end)
            rest[count++] = {begin, piece.end};
    }
    std::copy_n(rest, count, m_pieces.begin());
    m_count = count;
}

using Candidates = QVarLengthArray<const PixelSource*, 128>;

/// What can show in a strip, from the top to the bottom.
Candidates candidatesOf(const QRect& strip, const Sources& sources)
{
    Candidates candidates;
    for (auto source = sources.rbegin(); source != sources.rend(); ++source)
        if ((*source)->area().intersects(strip)) {
            candidates.append(source->get());
            if ((*source)->hides(strip))
                break;
        }
    return candidates;
}

QRgb* rowOf(const Target& target, int y)
{
    return reinterpret_cast<QRgb*>(target.bits + y * target.bytesPerLine);
}

/// Some rows further down things begin and end in nearly the same columns.
void prefetchRun(const QRgb* rowAhead, int begin, int end)
{
    Bedrock::prefetch(rowAhead + begin, kFirstBytes);
    Bedrock::prefetch(rowAhead + end - 1, kLastBytes);
}

/// Each source as a whole, from the bottom to the top.
void drawNarrow(const Target& target, const QRect& strip, const Candidates& candidates)
{
    for (int i = candidates.size() - 1; i >= 0; --i) {
        const PixelSource& source = *candidates[i];
        const QRect part = source.area() & strip;
        for (int y = part.top(); y <= part.bottom(); ++y) {
            const PixelSpan span = source.span(y);
            const int begin = std::max(span.begin, part.left()), end = std::min(span.end, part.right() + 1);
            if (begin < end)
                source.draw(rowOf(target, y), y, begin, end, span);
        }
    }
}

/// Row by row: from the top to the bottom what shows of each source, then drawn from the bottom to the top.
void drawWide(const Target& target, const QRect& strip, const Candidates& candidates)
{
    QVarLengthArray<Run, kUsualRuns> runs;
    for (int y = strip.top(); y <= strip.bottom(); ++y) {
        Pieces open({strip.left(), strip.right() + 1});
        runs.clear();
        for (const PixelSource* source : candidates) {
            const QRect& area = source->area();
            if (y < area.top() || y > area.bottom())
                continue;
            PixelSpan span = source->span(y);
            const int left = std::max(span.begin, area.left()), right = std::min(span.end, area.right() + 1);
            for (const Piece& piece : open)
                if (const int begin = std::max(piece.begin, left), end = std::min(piece.end, right); begin < end)
                    runs.append({source, begin, end, span});
            const Piece full{std::max(span.fullBegin, left), std::min(span.fullEnd, right)};
            if (source->isSolid() && full.end - full.begin >= kLeastHiddenPx && open.count() < kMostPieces)
                open.cut(full);
            if (open.count() == 0)
                break;
        }
        QRgb* const row = rowOf(target, y);
        const QRgb* const rowAhead = rowOf(target, std::min(y + kTargetRowsAhead, strip.bottom()));
        for (auto run = runs.rbegin(); run != runs.rend(); ++run) {
            prefetchRun(rowAhead, run->begin, run->end);
            run->source->draw(row, y, run->begin, run->end, run->span);
        }
    }
}

void drawStrip(const Target& target, const QRect& strip, const Sources& sources)
{
    const Candidates candidates = candidatesOf(strip, sources);
    if (strip.width() <= kNarrowPx)
        drawNarrow(target, strip, candidates);
    else
        drawWide(target, strip, candidates);
}

/// Of a small change there are few.
using Rects = QVarLengthArray<QRect, 16>;

/// Horizontal strips, as many as the threads need to share them evenly.
Rects stripsOf(const Rects& areas, int threads)
{
    int rows = 0;
    for (const QRect& area : areas)
        rows += area.height();
    const int height = threads > 1 ? std::clamp(rows / (threads * kStripsPerThread), kLeastStripRows, kStripRows) : kStripRows;
    Rects strips;
    for (const QRect& area : areas)
        for (int y = area.top(); y <= area.bottom(); y += height)
            strips.append(QRect(area.left(), y, area.width(), std::min(height, area.bottom() + 1 - y)));
    return strips;
}
}

void Composition::drawInto(QImage& target, const std::vector<QRect>& areas)
{
    if (m_sources.empty())
        return;
    const Target pixels{target.bits(), target.bytesPerLine()};
    qint64 size = 0;
    QRect drawn;
    for (const auto& source : m_sources)
        drawn |= source->area();
    Rects parts;
    for (const QRect& area : areas)
        if (const QRect part = area & drawn & target.rect(); !part.isEmpty()) {
            parts.append(part);
            size += qint64(part.width()) * part.height();
        }
    PaintingThreads* threads = PaintingThreads::current();
    if (threads && size < threads->leastPixels())
        threads = nullptr;
    const Rects strips = stripsOf(parts, threads ? threads->count() : 1);
    const auto drawPart = [&](int i) { drawStrip(pixels, strips[i], m_sources); };
    if (threads)
        threads->run(strips.size(), drawPart);
    else
        for (int i = 0; i < strips.size(); ++i)
            drawPart(i);
    m_sources.clear();
}
}
