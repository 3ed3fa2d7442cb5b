#include "shared/rowreader.h"

#include "shared/limits.h"
#include "shared/pixelrows.h"

#include <cstring>
#include <new>

namespace vellum::plugin {

namespace {

int decodedBits(const Picture &picture)
{
    return picture.inputColors ? inputPixelBytes(picture.inputColors) * 8
                               : bitsPerPixel(picture.format);
}

/// How many of 0, 1 ... lie below \a limit on a lattice that starts at \a origin.
int countBelow(int limit, int origin, int step)
{
    return limit <= origin ? 0 : (limit - origin + step - 1) / step;
}

} // namespace

RowReader::RowReader(Decoder &decoder, const Picture &picture, const ReadRequest &request,
                     qint64 fileBytes)
    : m_decoder(decoder), m_picture(picture), m_plan(picture.size, request, picture.bottomUp),
      m_fileBytes(fileBytes), m_keepDamaged(request.keepDamaged)
{
}

ReadResult RowReader::refuse(const char *problem)
{
    m_problem = QLatin1String(problem);
    return ReadResult::Refused;
}

ReadResult RowReader::read(ReadTarget &target)
try {
    return readInto(target);
} catch (const std::bad_alloc &) {
    return refuse("no memory for rows");
}

QImage::Format RowReader::plan()
{
    if (!m_plan.isValid())
        return QImage::Format_Invalid;
    const QSize reduced = m_decoder.reduce(m_plan.wholeAtScale());
    if (!reduced.isEmpty())
        m_plan.setDelivered(reduced);
    m_scales = !m_plan.columns().isIdentity() || !m_plan.rows().isIdentity();
    return m_scales ? averagedFormat(m_picture.format, m_picture.colorTable) : m_picture.format;
}

bool RowReader::comesRowByRow(Picture &picture) const
{
    return m_plan.isValid() && m_decoder.lattices().isEmpty() && picture.extraChannels == 0 &&
        m_decoder.foresee(m_plan.region().bottom(), picture);
}

/// Of a file whose size is not known at least one row must be small: unlike the image, whose
/// memory is there when rows arrive to fill it, rows are touched before.
bool RowReader::isClaimJustified(int bits) const
{
    const qint64 row = rowBytes(m_picture.size.width(), bits);
    const qint64 claimed = m_fileBytes < 0 ? row : row * m_picture.size.height();
    return isJustified(claimed, qMax(qint64(0), m_fileBytes), m_decoder.maxExpansion());
}

ReadResult RowReader::readInto(ReadTarget &target)
{
    if (!m_plan.isValid())
        return refuse("nothing of the picture lies in the rectangle asked for");
    const int bits = decodedBits(m_picture);
    if (!isClaimJustified(bits))
        return refuse("the file is too short for the size it claims");

    const QImage::Format format = plan();
    if (format == QImage::Format_Invalid || !target.prepare(m_plan.outputSize(), format))
        return refuse("no memory for the image");
    target.describe(m_picture);
    int stride = 0;
    uchar *const channels =
        target.allocateChannels(m_picture.extraChannels, m_picture.extraBits, stride);
    m_outputWidth = m_plan.outputSize().width();
    RowOutput output(target, m_plan.outputSize(), m_picture.bottomUp, channels, stride);

    m_wanted = m_plan.region();
    bool isStopped = false;
    m_decoder.setPoll([&] {
        isStopped = isStopped || !output.poll(0, 1);
        return !isStopped;
    });
    m_delivered = m_decoder.start(m_wanted);
    m_decoder.setPoll({}); // rows poll for themselves
    if (isStopped)
        return ReadResult::Stopped;
    if (!m_delivered.contains(m_wanted))
        return refuse("the pixels cannot be decoded");
    m_decoded.resize(roomForRow(bits));
    m_extra.resize(roomForRow(m_picture.extraChannels * m_picture.extraBits));
    m_formatter = std::make_unique<RowFormatter>(m_picture, format, m_delivered.width());

    return m_decoder.lattices().isEmpty() ? readRows(output) : readLattices(output);
}

/// Decoders may write whole groups of 4 bytes.
size_t RowReader::roomForRow(int bits) const
{
    return size_t((rowBytes(m_delivered.width(), bits) + 3) & ~qint64(3));
}

std::unique_ptr<RowStage> RowReader::makeStage(RowOutput &output)
{
    const int extraBytes = m_picture.extraChannels * m_picture.extraBits / 8;
    const DecodedRows rows {*m_formatter, m_decoded.data(), extraBytes};
    if (m_scales) {
        const Axis columns = m_plan.columns().relativeTo(m_delivered.x());
        const Axis lines = m_plan.rows().relativeTo(m_wanted.y());
        const SampleLayout extra {m_picture.extraChannels, m_picture.extraBits / 8, -1};
        return makeScaleStage(output, rows,
                              RowScaler::make(samplesOf(m_formatter->format()), columns, lines),
                              output.extra() ? RowScaler::make(extra, columns, lines) : nullptr);
    }
    if (m_formatter->isNeeded() || m_delivered.width() != m_wanted.width())
        return makeCropStage(output, rows, m_wanted.x() - m_delivered.x());
    return makeDirectStage(output, m_formatter->format(),
                           size_t(output.width()) * size_t(extraBytes));
}

ReadResult RowReader::readRows(RowOutput &output)
{
    const ReadResult result = decodeRows(*makeStage(output));
    m_rowsRead = output.rowsDone();
    if (result == ReadResult::Damaged && m_keepDamaged) {
        for (int i = m_rowsRead; i < output.height(); ++i)
            blank(output.unpolledRow(i));
    }
    return result;
}

ReadResult RowReader::decodeRows(RowStage &stage)
{
    uchar *const extra = m_extra.empty() ? nullptr : m_extra.data();
    for (int y = m_delivered.top(); y < m_wanted.top(); ++y) {
        if (!m_decoder.readRow(m_decoded.data(), extra))
            return ReadResult::Damaged;
    }
    for (int y = m_wanted.top(); y <= m_wanted.bottom(); ++y) {
        uchar *const row = stage.room();
        if (!row)
            return ReadResult::Stopped;
        if (!m_decoder.readRow(row, extra)) {
            stage.abandon();
            return ReadResult::Damaged;
        }
        if (!stage.put(extra))
            return ReadResult::Stopped;
    }
    return m_decoder.isDamaged() ? ReadResult::Damaged : ReadResult::Complete;
}

/// Interlaced pixels go where they belong: into the image, or, when they are to be averaged, first
/// into one of their own.
ReadResult RowReader::readLattices(RowOutput &output)
{
    if (!m_scales) {
        for (int y = 0; y < output.height(); ++y)
            blank(output.unpolledRow(y));
        return decodeLattices(output, m_wanted, [&](int y) { return output.unpolledRow(y); });
    }
    const QRect whole(m_delivered.x(), m_wanted.y(), m_delivered.width(), m_wanted.height());
    QImage gathered(whole.size(), m_picture.format);
    if (gathered.isNull())
        return refuse("no memory for the interlaced picture");
    gathered.fill(0);
    const ReadResult result =
        decodeLattices(output, whole, [&](int y) { return gathered.scanLine(y); });
    if (result == ReadResult::Stopped || (result == ReadResult::Damaged && !m_keepDamaged))
        return result;
    const auto stage = makeStage(output);
    const auto bytes = size_t(rowBytes(whole.width(), gathered.depth()));
    for (int y = 0; y < whole.height(); ++y) {
        std::memcpy(stage->room(), gathered.constScanLine(y), bytes);
        if (!stage->put(nullptr))
            return ReadResult::Stopped;
    }
    m_rowsRead = output.rowsDone();
    return result;
}

/// Decodes all lattices; what of them lies in \a area goes to rowAt(0), rowAt(1) ...
template <typename RowAt>
ReadResult RowReader::decodeLattices(const RowOutput &output, const QRect &area, RowAt rowAt)
{
    const int bits = bitsPerPixel(m_picture.format);
    const bool lowestFirst = m_picture.format == QImage::Format_MonoLSB;
    const QVector<Lattice> lattices = m_decoder.lattices();
    for (int i = 0; i < lattices.size(); ++i) {
        const Lattice &lattice = lattices[i];
        const int first = countBelow(area.left(), lattice.x, lattice.stepX);
        const int count = countBelow(area.right() + 1, lattice.x, lattice.stepX) - first;
        const int outFirst = lattice.x + first * lattice.stepX - area.left();
        for (int y = lattice.y; y < m_picture.size.height(); y += lattice.stepY) {
            if (!output.poll(qint64(i) * m_picture.size.height() + y + 1,
                             qint64(lattices.size()) * m_picture.size.height()))
                return ReadResult::Stopped;
            if (!m_decoder.readRow(m_decoded.data(), nullptr))
                return ReadResult::Damaged;
            if (y >= area.top() && y <= area.bottom() && count > 0) {
                scatterPixels(rowAt(y - area.top()), outFirst, lattice.stepX, m_decoded.data(),
                              first, count, bits, lowestFirst);
            }
            if (i == lattices.size() - 1)
                m_rowsRead = qBound(0, y + 1 - area.top(), area.height());
        }
    }
    m_rowsRead = area.height();
    return ReadResult::Complete;
}

void RowReader::blank(uchar *row) const
{
    if (row)
        std::memset(row, 0, size_t(rowBytes(m_outputWidth, bitsPerPixel(m_formatter->format()))));
}

} // namespace vellum::plugin
