#include "shared/pixelrows.h"

#include <algorithm>
#include <cstring>

namespace vellum::plugin {

namespace {

uchar bitMask(int x, bool lowestFirst) { return uchar(lowestFirst ? 1 << x % 8 : 0x80 >> x % 8); }

void copyBit(uchar *out, int outX, const uchar *in, int inX, bool lowestFirst)
{
    const uchar mask = bitMask(outX, lowestFirst);
    const bool set = in[inX / 8] & bitMask(inX, lowestFirst);
    out[outX / 8] = uchar(set ? out[outX / 8] | mask : out[outX / 8] & ~mask);
}

template <int Bytes>
void scatterBytes(uchar *out, const uchar *in, int step, int count)
{
    for (int i = 0; i < count; ++i, in += Bytes, out += qptrdiff(step) * Bytes)
        std::memcpy(out, in, Bytes);
}

template <typename Store>
void lookUp(const uchar *in, QImage::Format from, int count, const QVector<QRgb> &table,
            Store store)
{
    const bool lowestFirst = from == QImage::Format_MonoLSB;
    for (int x = 0; x < count; ++x) {
        const int index = from == QImage::Format_Indexed8
            ? in[x]
            : int((in[x / 8] & bitMask(x, lowestFirst)) != 0);
        store(x, index < table.size() ? table[index] : 0xff000000U);
    }
}

} // namespace

int bitsPerPixel(QImage::Format format) { return QImage::toPixelFormat(format).bitsPerPixel(); }

qint64 rowBytes(int width, int bits) { return (qint64(width) * bits + 7) / 8; }

void copyPixels(uchar *out, const uchar *in, int first, int count, int bits, bool lowestFirst)
{
    if (qint64(first) * bits % 8 == 0) {
        std::memcpy(out, in + qint64(first) * bits / 8, size_t(rowBytes(count, bits)));
        return;
    }
    for (int i = 0; i < count; ++i)
        copyBit(out, i, in, first + i, lowestFirst);
}

void clearUnusedBits(uchar *row, int width, QImage::Format format)
{
    const int used = width % 8;
    if (used == 0)
        return;
    if (format == QImage::Format_Mono)
        row[width / 8] &= uchar(0xff << (8 - used));
    else if (format == QImage::Format_MonoLSB)
        row[width / 8] &= uchar((1 << used) - 1);
}

void scatterPixels(uchar *out, int outFirst, int outStep, const uchar *in, int inFirst, int count,
                   int bits, bool lowestFirst)
{
    uchar *const to = out + qint64(outFirst) * bits / 8;
    const uchar *const from = in + qint64(inFirst) * bits / 8;
    switch (bits) {
    case 1:
        for (int i = 0; i < count; ++i)
            copyBit(out, outFirst + i * outStep, in, inFirst + i, lowestFirst);
        return;
    case 8:
        return scatterBytes<1>(to, from, outStep, count);
    case 16:
        return scatterBytes<2>(to, from, outStep, count);
    case 24:
        return scatterBytes<3>(to, from, outStep, count);
    case 32:
        return scatterBytes<4>(to, from, outStep, count);
    case 64:
        return scatterBytes<8>(to, from, outStep, count);
    }
}

SampleLayout samplesOf(QImage::Format format)
{
    constexpr int kAlphaOfWord = Q_BYTE_ORDER == Q_LITTLE_ENDIAN ? 3 : 0;
    switch (format) {
    case QImage::Format_Grayscale8:
        return {1, 1, -1};
    case QImage::Format_Grayscale16:
        return {1, 2, -1};
    case QImage::Format_RGB888:
    case QImage::Format_BGR888:
        return {3, 1, -1};
    case QImage::Format_RGB32:
    case QImage::Format_RGBX8888:
    case QImage::Format_ARGB32_Premultiplied:
    case QImage::Format_RGBA8888_Premultiplied:
        return {4, 1, -1};
    case QImage::Format_ARGB32:
        return {4, 1, kAlphaOfWord};
    case QImage::Format_RGBA8888:
        return {4, 1, 3};
    case QImage::Format_RGBX64:
    case QImage::Format_RGBA64_Premultiplied:
        return {4, 2, -1};
    case QImage::Format_RGBA64:
        return {4, 2, 3};
    default:
        return {};
    }
}

QImage::Format averagedFormat(QImage::Format format, const QVector<QRgb> &table)
{
    const bool isIndexed = format == QImage::Format_Indexed8 || format == QImage::Format_Mono ||
        format == QImage::Format_MonoLSB;
    if (!isIndexed)
        return samplesOf(format).count > 0 ? format : QImage::Format_Invalid;
    if (std::any_of(table.begin(), table.end(), [](QRgb color) { return qAlpha(color) != 255; }))
        return QImage::Format_ARGB32;
    return std::all_of(table.begin(), table.end(), qIsGray) ? QImage::Format_Grayscale8
                                                            : QImage::Format_RGB32;
}

void lookUpColors(uchar *out, QImage::Format to, const uchar *in, QImage::Format from, int count,
                  const QVector<QRgb> &table)
{
    if (to == QImage::Format_Grayscale8) {
        lookUp(in, from, count, table, [out](int x, QRgb color) { out[x] = uchar(qRed(color)); });
    } else {
        lookUp(in, from, count, table, [out](int x, QRgb color) {
            std::memcpy(out + qptrdiff(x) * 4, &color, sizeof color);
        });
    }
}

} // namespace vellum::plugin
