#include <vellum/geometry/evenrows_p.h>
#include <vellum/geometry/freeturn_p.h>
#include <vellum/image/prefetch_p.h>
#include <vellum/image/rowtable_p.h>
#include <vellum/image/vellum.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <new>

namespace vellum::geometry {

namespace {

// A turned row crosses many source rows, and the next one crosses them close by: a piece at a time
// keeps what it touches of the source in the cache. Which shape does was measured: a kilobyte of
// columns for gentle slopes, wider pieces for steep ones, where a row takes up only a pixel or two
// of a source row before it leaves it.
constexpr int kPieceRows = 128;
constexpr int kMostPieceColumns = 512;

int pieceColumns(const FreeTurn &turn, int depth)
{
    const bool gentle = 3 * std::abs(turn.sine) < 2 * kOnePixel; // within 42 degrees
    return gentle ? qMin(256, 1024 * 8 / depth) : kMostPieceColumns;
}

/// Result columns first to last - 1.
struct Span
{
    qint64 first;
    qint64 last;

    Span meet(Span other) const
    {
        const qint64 from = qMax(first, other.first);
        return {from, qMax(from, qMin(last, other.last))};
    }
    bool isEmpty() const { return first >= last; }
};

qint64 ceilOfQuotient(qint64 a, qint64 b) // b > 0
{
    return a / b + (a % b > 0 ? 1 : 0);
}

/// The columns i of \a all with low <= start + i * step < high.
Span columnsWithin(Span all, qint64 start, qint64 step, qint64 low, qint64 high)
{
    if (step == 0)
        return start >= low && start < high ? all : Span {all.first, all.first};
    if (step < 0) { // the same in a mirror
        const qint64 mirroredLow = 1 - high;
        high = 1 - low;
        low = mirroredLow;
        start = -start;
        step = -step;
    }
    return all.meet({ceilOfQuotient(low - start, step), ceilOfQuotient(high - start, step)});
}

/// What a result row shows.
struct RowPlan
{
    uchar *out;
    qint64 x; ///< position of column 0
    qint64 y;
    Span drawn; ///< columns that show something of the source
    Span inner; ///< of these the ones whose neighbours all exist
};

class Painter
{
public:
    Painter(Vellum &result, const Vellum &source, const FreeTurn &turn, const Sampler &sampler,
            const image::RowTable &rows, const uchar *fillRow)
        : m_result(result), m_turn(turn), m_sampler(sampler), m_fillRow(fillRow),
          m_evenRows(source), m_depth(result.depth()), m_bytesPerPixel(m_depth / 8)
    {
        const qint64 stored = qint64(source.storedBytesPerLine()) * 8 / source.depth();
        m_run.rows = rows.data();
        m_run.stride = m_evenRows.stride();
        m_run.width = int(qMin<qint64>(source.width(), stored));
        m_run.height = source.height();
        m_run.stepX = turn.cosine;
        m_run.stepY = turn.sine;
    }

    void drawRows(int first, int last)
    {
        RowPlan plans[kPieceRows];
        const int count = last - first;
        for (int i = 0; i < count; ++i) {
            plans[i] = plan(first + i);
            fillAround(plans[i]);
        }
        const int width = m_result.width();
        const int columns = pieceColumns(m_turn, m_depth);
        for (qint64 left = 0; left < width; left += columns) {
            const Span piece {left, qMin<qint64>(left + columns, width)};
            const Span ahead {piece.last, piece.last + columns};
            for (int i = 0; i < count; ++i)
                drawPiece(plans[i], piece, ahead);
        }
    }

private:
    RowPlan plan(int row) const
    {
        const qint64 width = qint64(m_run.width) << kFractionBits;
        const qint64 height = qint64(m_run.height) << kFractionBits;
        const qint64 x = m_turn.originX - row * qint64(m_turn.sine);
        const qint64 y = m_turn.originY + row * qint64(m_turn.cosine);
        const Span all {0, m_run.width > 0 ? m_result.width() : 0};
        const auto within = [&](qint64 low, qint64 highX, qint64 highY) {
            const Span columns = columnsWithin(all, x, m_run.stepX, low, highX);
            return columns.meet(columnsWithin(all, y, m_run.stepY, low, highY));
        };
        const Span drawn = within(-m_sampler.margin, width, height);
        const Span inner =
            within(0, width - (m_sampler.reach - 1) * qint64(kOnePixel), height - kOnePixel);
        const bool hasInner = m_sampler.drawInner && !inner.isEmpty() && !drawn.isEmpty();
        return {m_result.scanLineEx(row), x, y, drawn,
                hasInner ? inner : Span {drawn.last, drawn.last}};
    }

    /// \a ahead is the piece to be drawn next.
    void drawPiece(const RowPlan &plan, Span piece, Span ahead)
    {
        // Asks for what the row will show of the next piece, twice per cache line along the row:
        // nearly all lines that one row leaves out the rows beside it ask for. In a function of
        // its own compilers drop this, for it has no result.
        constexpr int kHalfLine = 32 * 8; // bits
        const Span soon = ahead.meet(plan.inner);
        const int step = kHalfLine / m_depth;
        qint64 x = plan.x + soon.first * m_run.stepX;
        qint64 y = plan.y + soon.first * m_run.stepY;
        for (qint64 i = soon.first; i < soon.last; i += step) {
            image::prefetch(m_run.rows[y >> kFractionBits] +
                            (x >> kFractionBits) * m_bytesPerPixel);
            x += qint64(step) * m_run.stepX;
            y += qint64(step) * m_run.stepY;
        }
        const auto part = [&](qint64 first, qint64 last, Sampler::Draw draw) {
            const Span columns = piece.meet({first, last});
            if (columns.isEmpty())
                return;
            m_run.out = plan.out;
            m_run.column = int(columns.first);
            m_run.count = int(columns.last - columns.first);
            m_run.x = plan.x + columns.first * m_run.stepX;
            m_run.y = plan.y + columns.first * m_run.stepY;
            draw(m_run);
        };
        part(plan.drawn.first, plan.inner.first, m_sampler.draw);
        part(plan.inner.first, plan.inner.last, innerDraw(plan, piece));
        part(plan.inner.last, plan.drawn.last, m_sampler.draw);
    }

    /// The fastest form for what a row shows of the inside in \a piece.
    Sampler::Draw innerDraw(const RowPlan &plan, Span piece) const
    {
        constexpr int kMostStride = std::numeric_limits<int>::max() / (kMostPieceColumns + 2);
        const Span columns = piece.meet(plan.inner);
        if (!m_sampler.drawEven || columns.isEmpty() || m_run.stride > kMostStride)
            return m_sampler.drawInner;
        const auto rowAt = [&](qint64 column) {
            return (plan.y + column * m_run.stepY) >> kFractionBits;
        };
        const auto [top, bottom] = std::minmax({rowAt(columns.first), rowAt(columns.last - 1)});
        return m_evenRows.contains(top, bottom + 1) ? m_sampler.drawEven : m_sampler.drawInner;
    }

    /// Fills what the row shows nothing of the source in, and its padding.
    void fillAround(const RowPlan &plan) const
    {
        const qint64 width = m_result.width();
        const qint64 to = qMin(plan.drawn.first, width); // an empty span may lie beyond
        const qint64 from = qMin(plan.drawn.last, width);
        if (m_fillRow) {
            const auto fillBytes = [&](qint64 first, qint64 last) {
                std::memcpy(plan.out + first, m_fillRow + first, size_t(last - first));
            };
            fillBytes(0, to * m_bytesPerPixel);
            fillBytes(from * m_bytesPerPixel, m_result.bytesPerLine());
        } else if (m_sampler.drawOutside) {
            m_sampler.drawOutside(plan.out, 0, int(to));
            m_sampler.drawOutside(plan.out, int(from), int(width));
        }
    }

    Vellum &m_result;
    const FreeTurn &m_turn;
    const Sampler &m_sampler;
    const uchar *m_fillRow; // a whole result row of the fill value; null for one-bit results
    EvenRows m_evenRows;
    int m_depth;
    int m_bytesPerPixel;
    SampleRun m_run {};
};

} // namespace

FreeTurn::FreeTurn(int w, int h, double radians)
    : sine(int(std::sin(radians) * kOnePixel)), cosine(int(std::cos(radians) * kOnePixel))
{
    const qint64 spanW = qint64(w) * std::abs(cosine) + qint64(h) * std::abs(sine);
    const qint64 spanH = qint64(h) * std::abs(cosine) + qint64(w) * std::abs(sine);
    width = spanW >> kFractionBits;
    height = spanH >> kFractionBits;
    // Result pixel (centreX, centreY) shows the centre of the source.
    const qint64 centreX = (spanW >> (kFractionBits + 1)) - 1;
    const qint64 centreY = (spanH >> (kFractionBits + 1)) - 1;
    originX = -centreX * cosine + centreY * sine + qint64(w >> 1) * kOnePixel;
    originY = -centreX * sine - centreY * cosine + qint64(h >> 1) * kOnePixel;
}

FillPixel FillPixel::of(uint value)
{
    FillPixel pixel;
    for (int i = 0; i < 8; ++i) // 64-bit pixels have the value twice
        pixel.bytes[i] = uchar(value >> (i % 4 * 8));
    return pixel;
}

bool turnFreely(Vellum &result, const Vellum &source, const FreeTurn &turn, const Sampler &sampler,
                const FillPixel &fill, const RowsDone &done)
{
    const image::RowTable rows(source);
    if (!rows.isValid())
        return false;
    std::unique_ptr<uchar[]> fillRow;
    if (const size_t bytesPerPixel = size_t(result.depth() / 8)) {
        const auto bytes = size_t(result.bytesPerLine());
        fillRow.reset(new (std::nothrow) uchar[bytes]);
        if (!fillRow)
            return false;
        for (size_t i = 0; i < bytes; ++i)
            fillRow[i] = fill.bytes[i % bytesPerPixel];
    }
    Painter painter(result, source, turn, sampler, rows, fillRow.get());
    const int height = result.height();
    for (int first = 0; first < height;) {
        const int last = first + qMin(kPieceRows, height - first);
        painter.drawRows(first, last);
        for (; first < last; ++first) {
            if (!done(first + 1))
                return false;
        }
    }
    return true;
}

} // namespace vellum::geometry
