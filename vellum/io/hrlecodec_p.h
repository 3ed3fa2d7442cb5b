// Run-length data of HRLE files: encoder, decoder and what they read from.
#pragma once

#include <vellum/image/attachments.h>

#include <QtEndian>
#include <QtGlobal>

#include <array>
#include <memory>
#include <optional>

class QImage;
class QIODevice;
class Vellum;

namespace vellum::io {

// A word of run-length data: the length of a run in the low 24 bits, the byte to repeat above. A
// zero word ends a row; the next word says how often the row occurs.
constexpr quint32 kEndOfRow = 0;

constexpr quint32 makeRun(quint32 length, uchar value)
{
    return (length & 0xffffff) | quint32(value) << 24;
}

constexpr int runLength(quint32 word) { return int(word & 0xffffff); }
constexpr uchar runValue(quint32 word) { return uchar(word >> 24); }

/// A buffer from \c malloc.
using Bytes = std::unique_ptr<uchar[], FreeMemory>;

/// Rows of an image as a file holds them: bytesPerLine() bytes each, of which those that the
/// store of a big image lacks are zero.
class RowSource
{
    Q_DISABLE_COPY(RowSource)

public:
    /// image_constScanLine or image_constScanLine_reverse.
    using Fetch = const uchar *(*)(const Vellum *, const QImage *, int);

    RowSource(const Vellum &image, Fetch fetch);

    /// Row \a y, after one poll; valid until the next but one call. Null when the row cannot be
    /// had, the user cancelled, or memory runs out.
    const uchar *row(int y);

    int height() const { return m_height; }
    int bytesPerLine() const { return m_bytesPerLine; }

private:
    const Vellum &m_image;
    const Fetch m_fetch;
    const int m_height;
    const int m_bytesPerLine;
    const int m_storedBytes;
    Bytes m_padded; // two rows, when rows must be padded
};

/// Encodes all \a rows, top to bottom, into \a buffer of \a size bytes.
///
/// Asks for more than 16 bytes beside what it writes. Runs of 2^24 bytes or more lose their upper
/// bits.
/// \return the number of bytes written; -1 when \a size is too small; nothing when a row is null
[[nodiscard]] std::optional<int> encodeRows(RowSource &rows, uchar *buffer, int size);

/// The words of run-length data, read through a small buffer whatever their number.
class WordReader
{
    Q_DISABLE_COPY(WordReader)

public:
    /// Reads at most \a bytes bytes from \a device.
    WordReader(QIODevice &device, qint64 bytes);

    /// \return false when there is no further whole word
    [[nodiscard]] bool next(quint32 &word)
    {
        if (m_end - m_at < 4 && !refill())
            return false;
        word = qFromLittleEndian<quint32>(m_buffer.data() + m_at);
        m_at += 4;
        return true;
    }

    /// Leaves the device behind the data, or where it ends too soon.
    void skipRest();

private:
    bool refill();

    std::array<uchar, 16384> m_buffer;
    QIODevice &m_device;
    qint64 m_unread; // bytes still in the device
    int m_at = 0; // the bytes of m_buffer from here to m_end are still to be used
    int m_end = 0;
};

/// Decodes \a words into \a image, an 8-bit image, top to bottom, one poll per row.
///
/// Runs that would pass the end of the row are skipped, repeats end with the last row, and what
/// the words do not supply is zero.
/// \return false as soon as a row is null
[[nodiscard]] bool decodeRows(WordReader &words, Vellum &image);

/// Sets rows \a from to \a to - 1 to zero, without a poll.
void clearRows(Vellum &image, int from, int to);

} // namespace vellum::io
