// The sampling scaler against QImage's, and big sources against plain ones.

#include <vellum/vellum.h>

#include <benchmark/benchmark.h>

#include <comparison.h>
#include <cstring>
#include <memory>
#include <string>

using namespace vellum::bench;

namespace {

constexpr int kWidth = 8000;
constexpr int kHeight = 6000;

struct Inputs
{
    Vellum plain;
    Vellum big;

    explicit Inputs(QImage::Format format)
    {
        Vellum::create(plain, kWidth, kHeight, format);
        Vellum::createBig(big, kWidth, kHeight, format);
        quint32 state = 1;
        for (int y = 0; y < kHeight; ++y) {
            uchar *const row = plain.scanLineEx(y);
            for (int i = 0; i < plain.bytesPerLine(); ++i)
                row[i] = uchar((state = state * 1664525 + 1013904223) >> 24);
            std::memcpy(big.scanLineEx(y), row, size_t(plain.bytesPerLine()));
        }
    }
};

std::function<void()> sample(const std::shared_ptr<Inputs> &in, const Vellum &from,
                             const QSize &size)
{
    return [in, &from, size] {
        Vellum result;
        fast_scale_image(result, from, size, QRect(QPoint(0, 0), size), false, QSize());
        benchmark::DoNotOptimize(result.scanLineEx(0));
    };
}

Comparison compare(QImage::Format format, const QSize &size)
{
    const auto in = std::make_shared<Inputs>(format);
    const auto qt = [in, size] {
        const QImage result = in->plain.QImage::scaled(size);
        benchmark::DoNotOptimize(result.constBits());
    };
    return {sample(in, in->big, size),
            {{"QImage::scaled", qt, 2.0}, {"a plain source", sample(in, in->plain, size), 0.8}},
            double(size.width()) * size.height() * in->plain.depth() / 8};
}

/// One comparison for every format and target size.
struct All
{
    All()
    {
        const std::pair<const char *, QImage::Format> formats[] = {
            {"ARGB32 premultiplied", QImage::Format_ARGB32_Premultiplied},
            {"ARGB32", QImage::Format_ARGB32},
            {"RGB888", QImage::Format_RGB888},
            {"RGB16", QImage::Format_RGB16},
            {"RGBA64", QImage::Format_RGBA64},
            {"Grayscale8", QImage::Format_Grayscale8},
            {"Mono", QImage::Format_Mono},
        };
        for (const auto &[name, format] : formats) {
            for (const QSize size : {QSize(1600, 1200), QSize(4000, 3000), QSize(11000, 8000)}) {
                const std::string to =
                    std::to_string(size.width()) + "x" + std::to_string(size.height());
                Register("sampling/8000x6000 to " + to + " " + name,
                         [format = format, size] { return compare(format, size); });
            }
        }
    }
} const all;

} // namespace
