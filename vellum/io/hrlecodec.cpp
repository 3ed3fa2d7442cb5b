#include <vellum/image/rowaccess.h>
#include <vellum/image/vellum.h>
#include <vellum/io/hrlecodec_p.h>

#include <QIODevice>
#include <QtAlgorithms>
#include <QtEndian>

#include <cstdlib>
#include <cstring>
#include <utility>

namespace vellum::io {

namespace {

constexpr int kMargin = 16; // bytes that the encoder keeps free behind its last word

/// First byte at or after \a p that differs from \a *p; \a end when there is none. \a p is
/// before \a end.
const uchar *endOfRun(const uchar *p, const uchar *end)
{
    constexpr int kBlock = 64; // one branch per cache line
    constexpr int kWord = 8;
    const uchar value = *p++;
    const quint64 wanted = value * Q_UINT64_C(0x0101010101010101);
    const auto differenceAt = [&](const uchar *at) {
        quint64 word = 0;
        std::memcpy(&word, at, kWord);
        return word ^ wanted;
    };
    for (; end - p >= kBlock; p += kBlock) {
        quint64 difference = 0;
        for (int i = 0; i < kBlock; i += kWord) // compilers make vectors of this
            difference |= differenceAt(p + i);
        if (difference != 0)
            break;
    }
    for (; end - p >= kWord; p += kWord) {
        const quint64 difference = qFromLittleEndian(differenceAt(p));
        if (difference != 0)
            return p + qCountTrailingZeroBits(difference) / 8;
    }
    while (p != end && *p == value)
        ++p;
    return p;
}

} // namespace

RowSource::RowSource(const Vellum &image, Fetch fetch)
    : m_image(image), m_fetch(fetch), m_height(image.height()),
      m_bytesPerLine(image.bytesPerLine()), m_storedBytes(image.storedBytesPerLine())
{
    if (m_storedBytes < m_bytesPerLine)
        m_padded.reset(static_cast<uchar *>(std::calloc(2, size_t(m_bytesPerLine))));
}

const uchar *RowSource::row(int y)
{
    const uchar *const stored = m_fetch(&m_image, nullptr, y);
    if (!stored || m_storedBytes == m_bytesPerLine)
        return stored;
    if (!m_padded)
        return nullptr;
    uchar *const padded = m_padded.get() + (y & 1) * qptrdiff(m_bytesPerLine);
    std::memcpy(padded, stored, size_t(m_storedBytes));
    return padded;
}

std::optional<int> encodeRows(RowSource &rows, uchar *buffer, int size)
{
    const int limit = size - kMargin;
    const auto bytes = rows.bytesPerLine();
    int used = 0;
    quint32 repeats = 0; // of the row encoded last
    const uchar *previous = nullptr;
    for (int y = 0; y < rows.height(); ++y) {
        const uchar *const row = rows.row(y);
        if (!row)
            return std::nullopt;
        if (limit < 0)
            return -1;
        if (previous && std::memcmp(row, previous, size_t(bytes)) == 0) {
            qToLittleEndian(++repeats, buffer + used - 4);
            previous = row;
            continue;
        }
        previous = row;
        // Here and after every run, used <= limit: the margin takes what a row's end needs.
        const uchar *const end = row + bytes;
        for (const uchar *run = row;;) {
            const uchar *const next = endOfRun(run, end);
            qToLittleEndian(makeRun(quint32(next - run), *run), buffer + used);
            if (next == end)
                break;
            run = next;
            used += 4;
            if (used >= limit)
                return -1;
        }
        if (used + 12 >= limit)
            return -1;
        repeats = 1;
        qToLittleEndian(kEndOfRow, buffer + used + 4);
        qToLittleEndian(repeats, buffer + used + 8);
        used += 12;
    }
    return used;
}

WordReader::WordReader(QIODevice &device, qint64 bytes) : m_device(device), m_unread(bytes) { }

bool WordReader::refill()
{
    int held = m_end - m_at;
    std::memmove(m_buffer.data(), m_buffer.data() + m_at, size_t(held));
    while (held < 4) { // sequential devices may give a byte at a time
        const qint64 wanted = qMin(m_unread, qint64(m_buffer.size()) - held);
        auto *const space = reinterpret_cast<char *>(m_buffer.data() + held);
        const qint64 got = wanted > 0 ? m_device.read(space, wanted) : 0;
        if (got <= 0)
            break;
        held += int(got);
        m_unread -= got;
    }
    m_at = 0;
    m_end = held;
    return held >= 4;
}

void WordReader::skipRest()
{
    do {
        m_at = m_end;
    } while (refill());
}

bool decodeRows(WordReader &words, Vellum &image)
{
    const int height = image.height();
    const int bytes = image.bytesPerLine();
    int y = 0;
    uchar *row = nullptr; // row y, once a word for it has come
    int x = 0;
    int supplied = 0; // bytes of the row that have a value; more than x after a repeat count of 0
    quint32 word = 0;
    while (y < height && words.next(word)) {
        if (!row && !(row = image_scanLine(&image, nullptr, y)))
            return false;
        if (word != kEndOfRow) {
            const int length = runLength(word);
            if (length <= bytes - x) {
                std::memset(row + x, runValue(word), size_t(length));
                x += length;
                supplied = qMax(supplied, x);
            }
            continue;
        }
        x = 0;
        quint32 repeats = 0;
        if (!words.next(repeats))
            break;
        if (repeats == 0)
            continue; // the row is begun again
        std::memset(row + supplied, 0, size_t(bytes - supplied));
        const auto end = int(qMin<qint64>(height, qint64(y) + repeats));
        while (++y < end) {
            uchar *const copy = image_scanLine(&image, nullptr, y);
            // A callback that keeps a copy of the image makes each new row detach, so that older
            // pointers into the image are stale.
            const uchar *const original = std::as_const(image).scanLineEx(y - 1);
            if (!copy || !original)
                return false;
            std::memcpy(copy, original, size_t(bytes));
        }
        row = nullptr;
        supplied = 0;
    }
    if (row) {
        std::memset(row + supplied, 0, size_t(bytes - supplied));
        ++y;
    }
    clearRows(image, y, height);
    return true;
}

void clearRows(Vellum &image, int from, int to)
{
    for (int y = from; y < to; ++y) {
        if (uchar *const row = image.scanLineEx(y))
            std::memset(row, 0, size_t(image.bytesPerLine()));
    }
}

} // namespace vellum::io
