// Pixels one at a time, as the raw numbers that lie in memory: slow and plain, for oracles.
#pragma once

#include <vellum/vellum.h>

#include <limits>
#include <vector>

namespace vellum::test {

/// Mask of pixel \a x in its byte, for one-bit formats.
inline uchar bitMask(QImage::Format format, int x)
{
    return uchar(format == QImage::Format_MonoLSB ? 1 << (x % 8) : 0x80 >> (x % 8));
}

/// The bits of pixel (\a x, \a y), the first byte in the lowest bits.
inline quint64 rawPixel(const Vellum &image, int x, int y)
{
    const uchar *const row = image.scanLineEx(y);
    if (image.depth() == 1)
        return (row[x / 8] & bitMask(image.format(), x)) != 0;
    const int bytes = image.depth() / 8;
    quint64 pixel = 0;
    for (int i = 0; i < bytes; ++i)
        pixel |= quint64(row[qptrdiff(x) * bytes + i]) << (8 * i);
    return pixel;
}

inline void setRawPixel(Vellum &image, int x, int y, quint64 pixel)
{
    uchar *const row = image.scanLineEx(y);
    if (image.depth() == 1) {
        const uchar mask = bitMask(image.format(), x);
        row[x / 8] = uchar(pixel ? row[x / 8] | mask : row[x / 8] & ~mask);
        return;
    }
    const int bytes = image.depth() / 8;
    for (int i = 0; i < bytes; ++i)
        row[qptrdiff(x) * bytes + i] = uchar(pixel >> (8 * i));
}

/// What rawPixel() gives after Vellum::fill(\a value) of an image of \a depth.
inline quint64 filledPixel(uint value, int depth)
{
    if (depth == 64)
        return quint64(value) << 32 | value;
    if (depth == 1)
        return value & 1; // fill values of one-bit images are all bits or none
    return depth == 32 ? value : value & ((1U << depth) - 1);
}

/// Keeps what operations on an image report, for as long as both live.
class ProgressLog
{
    Q_DISABLE_COPY(ProgressLog)

public:
    /// Listens to \a image; answers "stop" from call number \a lastCall on, counted from 1.
    explicit ProgressLog(Vellum &image, int lastCall = std::numeric_limits<int>::max())
        : m_lastCall(lastCall)
    {
        image.setCallback(log, this, 0, 1.0);
    }

    /// The percentages as the callback got them, in order.
    std::vector<int> percentages;

private:
    static bool log(void *self, int percent, void *)
    {
        auto *const progress = static_cast<ProgressLog *>(self);
        progress->percentages.push_back(percent);
        return int(progress->percentages.size()) < progress->m_lastCall;
    }

    int m_lastCall;
};

/// What a callback gets when an operation hands \a position to Vellum::set_progress of an image
/// of \a height rows, with base 0 and scale 1.
inline int reported(int position, int height)
{
    double value = position;
    value *= 100.0;
    value /= height;
    return int(value);
}

} // namespace vellum::test
