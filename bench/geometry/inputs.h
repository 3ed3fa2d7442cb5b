// What the geometry benchmarks have in common: pictures, peers, names.
#pragma once

#include <vellum/vellum.h>

#include <benchmark/benchmark.h>

#include <comparison.h>
#include <cstring>
#include <memory>

namespace vellum::bench {

/// One picture of noise, plain and, when asked for, big.
struct Picture
{
    QImage plain;
    Vellum vellum; ///< shares the pixels of plain
    Vellum big;

    Picture(int w, int h, QImage::Format format, bool withBig) : plain(w, h, format)
    {
        quint32 state = 1;
        for (int y = 0; y < h; ++y) {
            uchar *const row = plain.scanLine(y);
            for (int i = 0; i < plain.bytesPerLine(); ++i)
                row[i] = uchar((state = state * 1664525U + 1013904223U) >> 24);
        }
        vellum = plain;
        if (!withBig)
            return;
        Vellum::createBig(big, w, h, format);
        for (int y = 0; y < h; ++y)
            std::memcpy(big.scanLineEx(y), plain.constScanLine(y), size_t(plain.bytesPerLine()));
    }

    double bytes() const { return double(plain.sizeInBytes()); }
};

/// The memory limit: a new image with a copy of the same bytes.
inline Peer copyPeer(const std::shared_ptr<Picture> &picture, double leastSpeed = 0)
{
    const auto copy = [picture] {
        const QImage image = picture->plain.copy();
        benchmark::DoNotOptimize(image.constBits());
    };
    return {"a copy of the bytes", copy, leastSpeed};
}

/// Runs \a make and keeps the compiler from dropping its result.
template <typename Make>
std::function<void()> keeping(Make make)
{
    return [make] {
        const auto image = make();
        benchmark::DoNotOptimize(image.isNull());
    };
}

inline const char *nameOf(QImage::Format format)
{
    switch (format) {
    case QImage::Format_Mono:
        return "Mono";
    case QImage::Format_Grayscale8:
        return "Grayscale8";
    case QImage::Format_Grayscale16:
        return "Grayscale16";
    case QImage::Format_RGB16:
        return "RGB16";
    case QImage::Format_RGB888:
        return "RGB888";
    case QImage::Format_RGB32:
        return "RGB32";
    case QImage::Format_ARGB32:
        return "ARGB32";
    case QImage::Format_RGBA64:
        return "RGBA64";
    default:
        return "other";
    }
}

} // namespace vellum::bench
