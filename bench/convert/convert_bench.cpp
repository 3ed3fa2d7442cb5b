// Conversions of big images, against QImage's of an equal plain image, one thread each.

#include <vellum/vellum.h>

#include <QThreadPool>

#include <benchmark/benchmark.h>

#include <cmath>
#include <comparison.h>
#include <cstring>
#include <memory>
#include <random>

using namespace vellum::bench;

namespace {

constexpr int kWidth = 5000;
constexpr int kHeight = 4000;

/// Soft shapes with a little noise, as a camera has them.
QImage makePhoto(int w, int h)
{
    QImage photo(w, h, QImage::Format_ARGB32);
    std::mt19937 random(1);
    for (int y = 0; y < h; ++y) {
        auto *const row = reinterpret_cast<QRgb *>(photo.scanLine(y));
        const double dy = y / 300.0;
        for (int x = 0; x < w; ++x) {
            const double dx = x / 410.0;
            const quint32 noise = random();
            const auto channel = [&](double v, int shift) {
                return int(120 + 110 * v) + int(noise >> shift & 7);
            };
            row[x] = qRgba(channel(std::sin(dx + dy), 0), channel(std::sin(dx - dy), 3),
                           channel(std::sin(dy), 6), (x / 512 + y / 512) % 3 ? 255 : 100);
        }
    }
    return photo;
}

/// The photograph as a plain image of a format, and the same on blocks.
struct Inputs
{
    QImage plain;
    Vellum big;

    explicit Inputs(QImage::Format format)
    {
        QThreadPool::globalInstance()->setMaxThreadCount(1);
        static const QImage photo = makePhoto(kWidth, kHeight);
        plain = photo.convertToFormat(format, Qt::ThresholdDither);
        Vellum::createBig(big, kWidth, kHeight, format);
        big.setColorTable(plain.colorTable());
        for (int y = 0; y < kHeight; ++y)
            std::memcpy(big.scanLineEx(y), plain.constScanLine(y), size_t(plain.bytesPerLine()));
    }
};

/// Reads the source's bytes and writes the result's to fresh memory, and does nothing else.
Peer memoryLimit(const std::shared_ptr<Inputs> &in, QImage::Format to)
{
    const auto run = [in, to] {
        QImage out(kWidth, kHeight, to);
        const int bytes = qMin(in->plain.bytesPerLine(), out.bytesPerLine());
        const int rest = out.bytesPerLine() - bytes;
        quint32 sum = 0;
        for (int y = 0; y < kHeight; ++y) {
            const uchar *const from = in->plain.constScanLine(y);
            std::memcpy(out.scanLine(y), from, size_t(bytes));
            std::memset(out.scanLine(y) + bytes, 0, size_t(rest));
            for (int i = bytes; i < in->plain.bytesPerLine(); i += 64)
                sum += from[i];
        }
        benchmark::DoNotOptimize(sum);
        benchmark::DoNotOptimize(out.constBits());
    };
    return {"copying the bytes", run, 0};
}

struct Case
{
    const char *name;
    QImage::Format from;
    QImage::Format to;
    int flags;
    double leastSpeed;
};

constexpr double kNoSlower = 1.0;

const Case kCases[] = {
    {"mono to monolsb", QImage::Format_Mono, QImage::Format_MonoLSB, 0, kNoSlower},
    {"mono to rgb32", QImage::Format_Mono, QImage::Format_RGB32, 0, kNoSlower},
    {"mono to indexed8", QImage::Format_Mono, QImage::Format_Indexed8, 0, kNoSlower},
    {"indexed8 to argb32", QImage::Format_Indexed8, QImage::Format_ARGB32, 0, kNoSlower},
    {"indexed8 to grayscale8", QImage::Format_Indexed8, QImage::Format_Grayscale8, 0, kNoSlower},
    {"indexed8 to mono, diffuse", QImage::Format_Indexed8, QImage::Format_Mono, 0, 2},
    {"grayscale8 to indexed8", QImage::Format_Grayscale8, QImage::Format_Indexed8, 0, kNoSlower},
    {"rgb32 to argb32", QImage::Format_RGB32, QImage::Format_ARGB32, 0, kNoSlower},
    {"argb32 to rgb32", QImage::Format_ARGB32, QImage::Format_RGB32, 0, kNoSlower},
    {"rgb32 to grayscale8", QImage::Format_RGB32, QImage::Format_Grayscale8, 0, 1.5},
    {"rgb32 to mono, diffuse", QImage::Format_RGB32, QImage::Format_Mono, 0, 2},
    {"rgb32 to mono, ordered", QImage::Format_RGB32, QImage::Format_Mono, 0x10, 2},
    {"rgb32 to monolsb, threshold", QImage::Format_RGB32, QImage::Format_MonoLSB, 0x20, 2},
    {"rgb32 to indexed8, diffuse", QImage::Format_RGB32, QImage::Format_Indexed8, 0, 2},
    {"rgb32 to indexed8, ordered", QImage::Format_RGB32, QImage::Format_Indexed8, 0x10, 2},
    {"rgb32 to indexed8, threshold", QImage::Format_RGB32, QImage::Format_Indexed8, 0x20, 1.2},
    {"argb32 to indexed8, diffuse both", QImage::Format_ARGB32, QImage::Format_Indexed8, 0x08, 2},
    {"argb32 to indexed8, ordered", QImage::Format_ARGB32, QImage::Format_Indexed8, 0x14, 2},
    {"rgba64 to argb32", QImage::Format_RGBA64, QImage::Format_ARGB32, 0, kNoSlower},
};

const Case kInPlaceCases[] = {
    {"indexed8 to grayscale8", QImage::Format_Indexed8, QImage::Format_Grayscale8, 0, kNoSlower},
    {"rgb32 to argb32", QImage::Format_RGB32, QImage::Format_ARGB32, 0, kNoSlower},
    {"rgba8888 to argb32", QImage::Format_RGBA8888, QImage::Format_ARGB32, 0, kNoSlower},
};

const Case kConvertedCases[] = {
    {"rgb888 to rgb32", QImage::Format_RGB888, QImage::Format_RGB32, 0, kNoSlower},
    {"rgb32 to rgb888", QImage::Format_RGB32, QImage::Format_RGB888, 0, kNoSlower},
    {"argb32 to premultiplied", QImage::Format_ARGB32, QImage::Format_ARGB32_Premultiplied, 0,
     kNoSlower},
    {"rgba64 to rgb32", QImage::Format_RGBA64, QImage::Format_RGB32, 0, kNoSlower},
    {"rgb32 to grayscale8", QImage::Format_RGB32, QImage::Format_Grayscale8, 0, kNoSlower},
    {"rgb888 to grayscale8", QImage::Format_RGB888, QImage::Format_Grayscale8, 0, kNoSlower},
    {"rgba8888 to grayscale8", QImage::Format_RGBA8888, QImage::Format_Grayscale8, 0, kNoSlower},
    {"rgb888 to mono, diffuse", QImage::Format_RGB888, QImage::Format_Mono, 0, 2},
    {"rgba64 to indexed8, diffuse", QImage::Format_RGBA64, QImage::Format_Indexed8, 0, 1.5},
};

double movedBytes(const Case &c)
{
    return (QImage(1, 1, c.from).depth() + QImage(1, 1, c.to).depth()) / 8.0 * kWidth * kHeight;
}

Peer qImage(const std::shared_ptr<Inputs> &in, const Case &c)
{
    const auto run = [in, c] {
        const QImage result = in->plain.convertToFormat(c.to, QFlag(c.flags));
        benchmark::DoNotOptimize(result.constBits());
    };
    return {"QImage", run, c.leastSpeed};
}

Comparison compareCopying(const Case &c)
{
    const auto in = std::make_shared<Inputs>(c.from);
    const auto ours = [in, c] {
        const Vellum result = in->big.convertToFormat(c.to, QFlag(c.flags));
        benchmark::DoNotOptimize(result.constBits());
    };
    return {ours, {qImage(in, c), memoryLimit(in, c.to)}, movedBytes(c)};
}

Comparison compareConverted(const Case &c, vellum::Storage storage)
{
    const auto in = std::make_shared<Inputs>(c.from);
    const auto ours = [in, c, storage] {
        const Vellum result = vellum::converted(in->big, c.to, QFlag(c.flags), storage);
        benchmark::DoNotOptimize(result.isNull());
    };
    return {ours, {qImage(in, c), memoryLimit(in, c.to)}, movedBytes(c)};
}

/// Relabels back for the next run, so that every run rewrites all rows.
Comparison compareInPlace(const Case &c)
{
    const auto in = std::make_shared<Inputs>(c.from);
    const QVector<QRgb> colors = in->plain.colorTable();
    const auto ours = [in, c, colors] {
        in->big.convertTo(c.to);
        in->big.setFormat(c.from);
        in->big.setColorTable(colors);
    };
    const auto plain = [in, c, colors] {
        in->plain.convertTo(c.to);
        in->plain.reinterpretAsFormat(c.from);
        in->plain.setColorTable(colors);
    };
    return {ours, {{"QImage", plain, c.leastSpeed}}, movedBytes(c)};
}

std::vector<std::unique_ptr<Register>> registerAll()
{
    std::vector<std::unique_ptr<Register>> all;
    const auto add = [&all](const std::string &name, const std::function<Comparison()> &make) {
        all.push_back(std::make_unique<Register>(name, make));
    };
    for (const Case &c : kCases)
        add(std::string("convert/") + c.name, [&c] { return compareCopying(c); });
    for (const Case &c : kInPlaceCases)
        add(std::string("convert/in place/") + c.name, [&c] { return compareInPlace(c); });
    for (const Case &c : kConvertedCases) {
        add(std::string("convert/any/") + c.name,
            [&c] { return compareConverted(c, vellum::Storage::Plain); });
        add(std::string("convert/any to big/") + c.name,
            [&c] { return compareConverted(c, vellum::Storage::Big); });
    }
    return all;
}

const auto registered = registerAll();

} // namespace
