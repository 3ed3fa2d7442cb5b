// The cost of colour: constructing images, and conversion against direct calls of lcms2.

#include <vellum/vellum.h>

#include <QThreadPool>

#include <benchmark/benchmark.h>
#include <lcms2.h>

#include <comparison.h>
#include <memory>

using namespace vellum::bench;

namespace {

const Register construction("color/a million images of 1 x 1", [] {
    constexpr int kCount = 1000000;
    const auto construct = [] {
        for (int i = 0; i < kCount; ++i) {
            Vellum image(1, 1, QImage::Format_RGB32);
            benchmark::DoNotOptimize(image);
        }
    };
    const auto plain = [] {
        for (int i = 0; i < kCount; ++i) {
            QImage image(1, 1, QImage::Format_RGB32);
            benchmark::DoNotOptimize(image);
        }
    };
    return Comparison {construct, {{"QImage", plain, 0}}, kCount};
});

const Register lookUp("color/a million null images", [] {
    constexpr int kCount = 1000000;
    const auto construct = [] {
        for (int i = 0; i < kCount; ++i) {
            Vellum image;
            benchmark::DoNotOptimize(image);
        }
    };
    const auto plain = [] {
        for (int i = 0; i < kCount; ++i) {
            QImage image;
            benchmark::DoNotOptimize(image);
        }
    };
    return Comparison {construct, {{"QImage", plain, 0}}, kCount};
});

constexpr int kWidth = 4000;
constexpr int kHeight = 3000;

struct Inputs
{
    Vellum image;
    QByteArray press;

    explicit Inputs(bool big)
    {
        const auto create = big ? Vellum::createBig : Vellum::create;
        create(image, kWidth, kHeight, QImage::Format_RGB32);
        quint32 state = 1;
        for (int y = 0; y < kHeight; ++y) {
            auto *const row = reinterpret_cast<quint32 *>(image.scanLineEx(y));
            for (int x = 0; x < kWidth; ++x)
                row[x] = (state = state * 1664525U + 1013904223U) | 0xff000000U;
        }
        image.getCmykIccProfile(press);
    }

    void convertDirectly()
    {
        const cmsHPROFILE display = cmsCreate_sRGBProfile();
        const cmsHPROFILE opened =
            cmsOpenProfileFromMem(press.constData(), cmsUInt32Number(press.size()));
        const cmsHTRANSFORM transform =
            cmsCreateTransform(display, TYPE_BGRA_8, opened, TYPE_CMYK_8, INTENT_PERCEPTUAL, 0);
        cmsCloseProfile(display);
        cmsCloseProfile(opened);
        const Vellum &source = image;
        QImage result(kWidth, kHeight, QImage::Format_ARGB32);
        for (int y = 0; y < kHeight; ++y)
            cmsDoTransform(transform, source.scanLineEx(y), result.scanLine(y), kWidth);
        cmsDeleteTransform(transform);
    }
};

/// sRGB to the press on \a threads threads against lcms2 on one; making the transform and the
/// result is part of both.
Comparison compareConversion(bool big, int threads, double leastSpeed)
{
    const auto in = std::make_shared<Inputs>(big);
    const auto ours = [in, threads] {
        QThreadPool *const pool = QThreadPool::globalInstance();
        const int before = pool->maxThreadCount();
        pool->setMaxThreadCount(threads);
        const Vellum result = vellum::convertColors(in->image, QByteArray(), in->press);
        benchmark::DoNotOptimize(result.isNull());
        pool->setMaxThreadCount(before);
    };
    const auto direct = [in] { in->convertDirectly(); };
    return {ours, {{"lcms2, one thread", direct, leastSpeed}}, double(kWidth) * kHeight * 8};
}

const Register onePlain("color/sRGB to press, one thread",
                        [] { return compareConversion(false, 1, 0.97); });
const Register oneBig("color/sRGB to press, one thread, big",
                      [] { return compareConversion(true, 1, 0.97); });
const Register twoPlain("color/sRGB to press, two threads",
                        [] { return compareConversion(false, 2, 1.8); });
const Register twoBig("color/sRGB to press, two threads, big",
                      [] { return compareConversion(true, 2, 1.8); });

} // namespace
