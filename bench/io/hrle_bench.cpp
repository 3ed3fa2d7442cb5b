// HRLE files of masks, against touching their pixels once.

#include <vellum/vellum.h>

#include <QBuffer>
#include <QDataStream>

#include <benchmark/benchmark.h>

#include <cmath>
#include <comparison.h>
#include <cstring>
#include <memory>
#include <random>

using namespace vellum::bench;

namespace {

constexpr int kSize = 8000;
constexpr double kBytes = double(kSize) * kSize;

/// Discs of one value each on black, as a selection mask has them.
Vellum makeShapes()
{
    Vellum mask;
    Vellum::create(mask, kSize, kSize, QImage::Format_Grayscale8);
    mask.fill(0U);
    std::mt19937 random(7);
    for (int disc = 0; disc < 60; ++disc) {
        const int radius = 100 + int(random() % 900);
        const int cx = int(random() % kSize);
        const int cy = int(random() % kSize);
        const int value = int(random() % 256);
        for (int y = qMax(0, cy - radius); y < qMin(kSize, cy + radius); ++y) {
            const auto half = int(std::sqrt(double(radius) * radius - double(y - cy) * (y - cy)));
            const int left = qMax(0, cx - half);
            std::memset(mask.scanLineEx(y) + left, value,
                        size_t(qMax(0, qMin(kSize, cx + half) - left)));
        }
    }
    return mask;
}

/// Lines of glyph-like boxes on white with wide margins, as a scanned page has them.
Vellum makePage()
{
    Vellum mask;
    Vellum::create(mask, kSize, kSize, QImage::Format_Grayscale8);
    mask.fill(255U);
    std::mt19937 random(7);
    for (int line = 500; line + 200 < kSize - 500; line += 200) {
        for (int x = 700; x < kSize - 800; x += 60 + int(random() % 60)) {
            const int height = 60 + int(random() % 60);
            for (int y = line; y < line + height; ++y)
                std::memset(mask.scanLineEx(y) + x, 0, size_t(20 + random() % 3));
        }
    }
    return mask;
}

/// Short runs, as dithering and film grain make them: it is tried, given up and written raw.
Vellum makeNoisy()
{
    Vellum mask;
    Vellum::create(mask, kSize, kSize, QImage::Format_Grayscale8);
    std::mt19937 random(7);
    for (int y = 0; y < kSize; ++y) {
        uchar *const row = mask.scanLineEx(y);
        for (int x = 0; x < kSize; ++x)
            row[x] = uchar(random() % 8 == 0 ? 255 : 0);
    }
    return mask;
}

void write(QByteArray &bytes, const Vellum &image)
{
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QDataStream stream(&buffer);
    HrleHandler().writeStream(stream, image);
}

void silence(QtMsgType, const QMessageLogContext &, const QString &) { }

struct Inputs
{
    explicit Inputs(const Vellum &made) : mask(made)
    {
        qInstallMessageHandler(silence); // the writer reports every size
        write(file, mask);
        pixels = std::make_unique<uchar[]>(size_t(mask.sizeInBytes()));
        std::memset(pixels.get(), 1, size_t(mask.sizeInBytes()));
    }
    ~Inputs() { qInstallMessageHandler(nullptr); }
    Q_DISABLE_COPY(Inputs)

    Vellum mask;
    QByteArray file;
    std::unique_ptr<uchar[]> pixels;
};

Comparison compareEncoding(const Vellum &mask, double leastSpeed)
{
    const auto in = std::make_shared<Inputs>(mask);
    const auto ours = [in] { write(in->file, in->mask); };
    const auto copy = [in] {
        std::memcpy(in->pixels.get(), in->mask.constBits(), size_t(in->mask.sizeInBytes()));
        benchmark::ClobberMemory();
    };
    return {ours, {{"memcpy", copy, leastSpeed}}, kBytes};
}

Comparison compareDecoding(const Vellum &mask, double leastSpeed)
{
    const auto in = std::make_shared<Inputs>(mask);
    const auto ours = [in] {
        QBuffer buffer(&in->file);
        buffer.open(QIODevice::ReadOnly);
        QDataStream stream(&buffer);
        Vellum image;
        HrleHandler().readStream(stream, image);
        benchmark::DoNotOptimize(image.constBits());
    };
    const auto makeAndSet = [] {
        QImage image(kSize, kSize, QImage::Format_Grayscale8);
        std::memset(image.bits(), 0x7f, size_t(image.sizeInBytes()));
        benchmark::ClobberMemory();
    };
    return {ours, {{"making and setting an image", makeAndSet, leastSpeed}}, kBytes};
}

const Register encodeShapes("hrle/encode shapes",
                            [] { return compareEncoding(makeShapes(), 0.5); });
const Register encodePage("hrle/encode page", [] { return compareEncoding(makePage(), 0.5); });
const Register encodeNoisy("hrle/encode noise", [] { return compareEncoding(makeNoisy(), 0); });
const Register decodeShapes("hrle/decode shapes",
                            [] { return compareDecoding(makeShapes(), 0.5); });
const Register decodePage("hrle/decode page", [] { return compareDecoding(makePage(), 0.5); });
const Register decodeNoisy("hrle/decode noise", [] { return compareDecoding(makeNoisy(), 0); });

} // namespace
