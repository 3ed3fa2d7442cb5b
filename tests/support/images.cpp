#include <cstring>
#include <random>
#include <support/images.h>
#include <sys/mman.h>

namespace vellum::test {

namespace {

struct Untouchable
{
    explicit Untouchable(size_t size)
        : bytes(size),
          memory(mmap(nullptr, size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0))
    {
    }
    ~Untouchable()
    {
        if (memory != MAP_FAILED)
            munmap(memory, bytes);
    }
    Untouchable(const Untouchable &) = delete;
    Untouchable &operator=(const Untouchable &) = delete;

    size_t bytes;
    void *memory;
};

int bitsPerPixel(QImage::Format format) { return QImage(1, 1, format).depth(); }

qint64 nominalStride(int w, QImage::Format format)
{
    return (qint64(w) * bitsPerPixel(format) + 31) / 32 * 4;
}

int visibleBytes(const Vellum &image)
{
    return int((qint64(image.width()) * image.depth() + 7) / 8);
}

/// The pixels in the last byte of a row: all bits, or fewer in one-bit formats.
uchar lastByteMask(const Vellum &image)
{
    const int used = image.depth() == 1 ? image.width() % 8 : 0;
    if (used == 0)
        return 0xff;
    return image.format() == QImage::Format_MonoLSB ? uchar((1 << used) - 1)
                                                    : uchar(0xff << (8 - used));
}

} // namespace

std::vector<QImage::Format> allFormats()
{
    std::vector<QImage::Format> formats;
    for (int f = QImage::Format_Invalid + 1; f < QImage::NImageFormats; ++f)
        formats.push_back(QImage::Format(f));
    return formats;
}

Vellum makeUntouchable(int w, int h, QImage::Format format)
{
    auto *const base = new Untouchable(size_t(nominalStride(w, format) * h));
    if (base->memory == MAP_FAILED) {
        delete base;
        return {};
    }
    return Vellum(
        static_cast<uchar *>(base->memory), w, h, format,
        [](void *untouchable) { delete static_cast<Untouchable *>(untouchable); }, base);
}

/// A plain image whose rows are at least \a extra bytes further apart than they need to be, as in
/// a part of a larger picture.
Vellum makeSpaced(int w, int h, QImage::Format format, int extra)
{
    const qint64 stride = nominalStride(w, format) + (extra + 7) / 8 * 8;
    auto *const pixels = new std::vector<uchar>(size_t(stride * h), 0xa5);
    const QImage image(
        pixels->data(), w, h, int(stride), format,
        [](void *owned) { delete static_cast<std::vector<uchar> *>(owned); }, pixels);
    return Vellum(image);
}

Vellum makeImage(int w, int h, QImage::Format format, Storage storage, int extraStride)
{
    if (storage == Storage::Plain)
        return extraStride > 0 ? makeSpaced(w, h, format, extraStride) : Vellum(w, h, format);
    Vellum image = makeUntouchable(w, h, format);
    EXPECT_TRUE(image.alloc_buffer(image.bytesPerLine() + extraStride, h));
    return image;
}

Vellum makeNoise(int w, int h, QImage::Format format, Storage storage, unsigned seed,
                 int extraStride)
{
    Vellum image = makeImage(w, h, format, storage, extraStride);
    std::mt19937 random(seed);
    if (image.colorCount() > 0 || format == QImage::Format_Indexed8) {
        QVector<QRgb> colors(format == QImage::Format_Indexed8 ? 256 : 2);
        for (QRgb &color : colors)
            color = random() | (random() % 4 ? 0xff000000U : 0);
        image.setColorTable(colors);
    }
    for (int y = 0; y < image.height(); ++y) {
        uchar *const row = image.scanLineEx(y);
        for (int i = 0; i < nominalStride(w, format); ++i) // the same for any stride
            row[i] = uchar(random() >> 24);
    }
    return image;
}

QImage toPlain(const Vellum &image)
{
    QImage plain(image.width(), image.height(), image.format());
    plain.fill(0);
    for (int y = 0; y < image.height(); ++y)
        std::memcpy(plain.scanLine(y), image.scanLineEx(y), size_t(visibleBytes(image)));
    plain.setColorTable(image.colorTable());
    plain.setDotsPerMeterX(image.dotsPerMeterX());
    plain.setDotsPerMeterY(image.dotsPerMeterY());
    const QStringList keys = image.textKeys();
    for (const QString &key : keys)
        plain.setText(key, image.text(key));
    return plain;
}

testing::AssertionResult samePixels(const Vellum &a, const Vellum &b)
{
    if (a.size() != b.size() || a.format() != b.format()) {
        return testing::AssertionFailure()
            << a.width() << " x " << a.height() << " format " << a.format() << " against "
            << b.width() << " x " << b.height() << " format " << b.format();
    }
    if (a.colorTable() != b.colorTable())
        return testing::AssertionFailure() << "colour tables differ";
    const int bytes = visibleBytes(a);
    const uchar lastMask = lastByteMask(a);
    for (int y = 0; y < a.height(); ++y) {
        const uchar *const p = a.scanLineEx(y);
        const uchar *const q = b.scanLineEx(y);
        if (!p || !q)
            return testing::AssertionFailure() << "row " << y << " is null";
        for (int i = 0; i < bytes; ++i) {
            if (((p[i] ^ q[i]) & (i == bytes - 1 ? lastMask : 0xff)) != 0) {
                return testing::AssertionFailure()
                    << "row " << y << ", byte " << i << " (pixel " << qint64(i) * 8 / a.depth()
                    << "): " << int(p[i]) << " against " << int(q[i]);
            }
        }
    }
    return testing::AssertionSuccess();
}

std::string caseName(const testing::TestParamInfo<std::tuple<QImage::Format, Storage>> &info)
{
    const auto [format, storage] = info.param;
    return "Format" + std::to_string(format) + (storage == Storage::Plain ? "Plain" : "Big");
}

} // namespace vellum::test
