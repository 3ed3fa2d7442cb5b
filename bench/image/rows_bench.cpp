// Walking and filling the rows of a big image, against the same on one raw buffer.

#include <vellum/vellum.h>

#include <benchmark/benchmark.h>

#include <comparison.h>
#include <cstring>
#include <memory>

using namespace vellum::bench;

namespace {

constexpr int kWidth = 8000;
constexpr int kHeight = 6000;
constexpr size_t kRowBytes = size_t(kWidth) * 4;
constexpr double kBytes = double(kRowBytes) * kHeight;

struct Inputs
{
    Vellum big;
    std::unique_ptr<uchar[]> raw {new uchar[kRowBytes * kHeight]};

    Inputs()
    {
        Vellum::createBig(big, kWidth, kHeight, QImage::Format_ARGB32);
        big.fill(0x12345678U);
        std::memset(raw.get(), 0x5a, kRowBytes * kHeight);
    }
};

/// What a light loop over pixels does to a row.
void addTo(quint32 &sum, const uchar *row)
{
    const auto *const pixels = reinterpret_cast<const quint32 *>(row);
    for (int x = 0; x < kWidth; ++x)
        sum += pixels[x];
}

std::function<void()> rawWalk(const std::shared_ptr<Inputs> &in)
{
    return [in] {
        quint32 sum = 0;
        for (int y = 0; y < kHeight; ++y)
            addTo(sum, in->raw.get() + size_t(y) * kRowBytes);
        benchmark::DoNotOptimize(sum);
    };
}

const Register walk("rows/walk", [] {
    const auto in = std::make_shared<Inputs>();
    const auto ours = [in] {
        const Vellum &image = in->big;
        quint32 sum = 0;
        for (int y = 0; y < kHeight; ++y)
            addTo(sum, image.scanLineEx(y));
        benchmark::DoNotOptimize(sum);
    };
    return Comparison {ours, {{"raw pointer walk", rawWalk(in), 0.95}}, kBytes};
});

const Register polledWalk("rows/walk with a progress poll per row", [] {
    const auto in = std::make_shared<Inputs>();
    static int polls;
    in->big.setCallback(
        [](void *counter, int, void *) { return ++*static_cast<int *>(counter) > 0; }, &polls, 0,
        1.0);
    const auto ours = [in] {
        quint32 sum = 0;
        polls = 0;
        for (int y = 0; y < kHeight; ++y)
            addTo(sum, image_constScanLine(&in->big, nullptr, y));
        benchmark::DoNotOptimize(sum);
    };
    return Comparison {ours, {{"raw pointer walk", rawWalk(in), 0.9}}, kBytes};
});

Comparison compareFill(uint pixel, double leastSpeed)
{
    const auto in = std::make_shared<Inputs>();
    const auto fill = [in, pixel] { in->big.fill(pixel); };
    const auto set = [in] {
        std::memset(in->raw.get(), 0x7f, kRowBytes * kHeight);
        benchmark::ClobberMemory();
    };
    return {fill, {{"memset", set, leastSpeed}}, kBytes};
}

const Register fillByte("rows/fill by byte", [] { return compareFill(0x7f7f7f7f, 0.9); });
const Register fillPixel("rows/fill by pixel", [] { return compareFill(0xff336699, 0.75); });

} // namespace
