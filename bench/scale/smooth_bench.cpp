// The smooth scaler against QImage's, and against just reading the pixels.

#include <vellum/vellum.h>

#include <QThreadPool>

#include <benchmark/benchmark.h>

#include <comparison.h>
#include <memory>
#include <random>
#include <scale/areapeers.h>

using namespace vellum::bench;

namespace {

/// Sets the size of the global pool, and restores it.
class PoolSize
{
    Q_DISABLE_COPY(PoolSize)

public:
    explicit PoolSize(int threads) : m_before(QThreadPool::globalInstance()->maxThreadCount())
    {
        QThreadPool::globalInstance()->setMaxThreadCount(threads);
    }
    ~PoolSize() { QThreadPool::globalInstance()->setMaxThreadCount(m_before); }

private:
    int m_before;
};

/// Noise that is valid in all formats: premultiplied colours are not above their alpha.
Vellum makeImage(const QSize &size, QImage::Format format)
{
    Vellum image(size.width(), size.height(), format);
    std::mt19937_64 random(1);
    for (int y = 0; y < image.height(); ++y) {
        auto *const row = reinterpret_cast<quint64 *>(image.scanLineEx(y));
        for (int i = 0; i < image.bytesPerLine() / 8; ++i)
            row[i] = random() & 0x7f7f7f7f7f7f7f7fU;
        if (image.depth() == 32) {
            for (int x = 0; x < image.width(); ++x)
                reinterpret_cast<QRgb *>(row)[x] |= 0x80000000U;
        } else if (image.depth() == 64) {
            for (int x = 0; x < image.width(); ++x)
                row[x] |= quint64(0x8000) << 48;
        }
    }
    return image;
}

std::function<void()> oursOf(const Vellum &image, const QSize &size)
{
    return [image, size] {
        benchmark::DoNotOptimize(
            qSmoothScaleCropVellum(image, size, QRect(QPoint(0, 0), size)).constBits());
    };
}

std::function<void()> qtOf(const QImage &image, const QSize &size)
{
    return [image, size] {
        benchmark::DoNotOptimize(
            image.scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation).constBits());
    };
}

/// \a run with \a threads in the pool.
std::function<void()> with(int threads, const std::function<void()> &run)
{
    return [threads, run] {
        const PoolSize pool(threads);
        run();
    };
}

std::string text(const QSize &size)
{
    return std::to_string(size.width()) + "x" + std::to_string(size.height());
}

void readPixels(const Vellum &image)
{
    const int width = image.width();
    quint32 sum = 0;
    for (int y = 0; y < image.height(); ++y) {
        const auto *const row = reinterpret_cast<const quint32 *>(image.scanLineEx(y));
        for (int x = 0; x < width; ++x)
            sum += row[x];
    }
    benchmark::DoNotOptimize(sum);
}

/// The registered comparisons, which must live as long as the program.
std::vector<Register> registerAll()
{
    std::vector<Register> all;
    const auto add = [&all](const QSize &from, const QSize &to, const std::string &what,
                            const auto &make) {
        all.emplace_back("smooth/" + text(from) + " to " + text(to) + what, make);
    };

    struct Pair
    {
        QSize from;
        QSize to;
        double straight; // least speed beside ARGB32, which QImage converts there and back
    };
    const QSize huge(8000, 6000);
    const Pair pairs[] = {
        {huge, {1600, 1200}, 5.0},         {huge, {200, 150}, 5.0},
        {huge, {4000, 3000}, 1.5},         {huge, {5333, 4000}, 1.5},
        {huge, {7000, 5500}, 1.5},         {{4000, 3000}, {8000, 1500}, 1.5},
        {{4000, 3000}, {2000, 6000}, 1.5}, {{2000, 1500}, {4000, 3000}, 1.5},
    };
    for (const Pair &pair : pairs) {
        add(pair.from, pair.to, "", [pair] {
            const Vellum image = makeImage(pair.from, QImage::Format_ARGB32_Premultiplied);
            QImage straight = image;
            straight.reinterpretAsFormat(QImage::Format_ARGB32);
            std::vector<Peer> peers = {
                {"QImage premultiplied", with(1, qtOf(image, pair.to)), 1.5},
                {"QImage ARGB32", with(1, qtOf(straight, pair.to)), pair.straight},
            };
            if (pair.to.width() * 40 == pair.from.width())
                peers.push_back({"reading the pixels", [image] { readPixels(image); }, 1 / 1.2});
            for (Peer &peer : areaPeers(image, pair.to))
                peers.push_back(std::move(peer));
            return Comparison {with(1, oursOf(image, pair.to)), std::move(peers),
                               double(image.sizeInBytes())};
        });
    }

    struct Other
    {
        QImage::Format format;
        const char *name;
        double leastSpeed;
    };
    const Other others[] = {
        {QImage::Format_Grayscale8, " grey", 1.5},
        {QImage::Format_RGBA64_Premultiplied, " 64-bit", 1.2},
    };
    for (const Other &other : others) {
        for (const Pair &pair : pairs) {
            add(pair.from, pair.to, other.name, [pair, other] {
                const Vellum image = makeImage(pair.from, other.format);
                return Comparison {with(1, oursOf(image, pair.to)),
                                   {{"QImage", with(1, qtOf(image, pair.to)), other.leastSpeed}},
                                   double(image.sizeInBytes())};
            });
        }
    }

    for (const QSize &to : {QSize(1600, 1200), QSize(7000, 5500)}) {
        add(huge, to, " on two threads", [huge, to] {
            const Vellum image = makeImage(huge, QImage::Format_ARGB32_Premultiplied);
            return Comparison {with(2, oursOf(image, to)),
                               {{"one thread", with(1, oursOf(image, to)), 1.8}},
                               double(image.sizeInBytes())};
        });
    }
    return all;
}

const std::vector<Register> all = registerAll();

} // namespace
