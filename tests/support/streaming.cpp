#include <QBuffer>
#include <QFile>

#include <cstdlib>
#include <cstring>
#include <support/streaming.h>

namespace vellum::test {

namespace {

/// Gives \a to, which has none, the EXIF data of \a from, which keeps it.
void copyExif(Vellum &to, Vellum &from)
{
    const ExifData *const exif = from.getExifData();
    if (!exif || exif->size <= 0)
        return;
    auto *const bytes = static_cast<char *>(std::malloc(size_t(exif->size)));
    to.setExifData(static_cast<char *>(std::memcpy(bytes, exif->data, size_t(exif->size))),
                   exif->size);
}

} // namespace

OpenOptions Wishes::decoded()
{
    OpenOptions options;
    options.format = OpenedFormat::AsDecoded;
    options.colors = PixelColors::FileOwn;
    return options;
}

SaveOptions Wishes::asItIs()
{
    SaveOptions options;
    options.colors = PixelColors::FileOwn;
    return options;
}

Copied copiedWhole(const QString &file, const Wishes &wishes)
{
    Copied copied;
    Vellum image;
    OpenOptions options = wishes.open;
    options.limits.reset(); // those of memory are for rows
    copied.opened = openImage(image, file, options);
    if (image.isNull())
        return copied;
    QBuffer buffer;
    buffer.open(QIODevice::ReadWrite);
    if (wishes.conversion) {
        Vellum converted = wishes.conversion(image);
        copyExif(converted, image);
        copied.saved = saveImage(converted, buffer, wishes.save);
    } else {
        copied.saved = saveImage(image, buffer, wishes.save);
    }
    if (copied.saved)
        copied.file = buffer.data();
    return copied;
}

Streamed streamed(const QString &file, const Wishes &wishes)
{
    Streamed streamed;
    QBuffer buffer;
    buffer.open(QIODevice::ReadWrite);
    PictureFile picture(file);
    streamed.result = streamPicture(picture, wishes.open, buffer, wishes.save, wishes.conversion);
    streamed.file = buffer.data();
    return streamed;
}

Wishes inSmallWindow(Wishes wishes, int width)
{
    wishes.open.limits = Limits {Limits::kNone, pixelBytes({width, 80}, QImage::Format_RGBA64)};
    return wishes;
}

testing::AssertionResult streamsAlike(const QString &file, const Wishes &wishes)
{
    const int width = wishes.open.size.isEmpty()
        ? (wishes.open.region.isNull() ? PictureFile(file).info().size.width()
                                       : wishes.open.region.width())
        : wishes.open.size.width();
    const Copied whole = copiedWhole(file, wishes);
    if (whole.file.isEmpty())
        return testing::AssertionFailure()
            << "cannot be copied: " << qPrintable(whole.opened.message + whole.saved.message);
    for (const Wishes &asked : {inSmallWindow(wishes, width), wishes}) {
        const Streamed flowed = streamed(file, asked);
        if (!flowed.result)
            return testing::AssertionFailure() << testing::PrintToString(flowed.result);
        if (flowed.file != whole.file)
            return testing::AssertionFailure() << "another file";
        if (flowed.result.saved.bytes != whole.saved.bytes ||
            flowed.result.opened.status != whole.opened.status ||
            flowed.result.opened.rowsRead != whole.opened.rowsRead ||
            flowed.result.opened.colors != whole.opened.colors)
            return testing::AssertionFailure()
                << "another result: " << testing::PrintToString(flowed.result) << "; not read "
                << int(whole.opened.status) << ' ' << qPrintable(whole.opened.message) << ", rows "
                << flowed.result.opened.rowsRead << " not " << whole.opened.rowsRead;
    }
    return testing::AssertionSuccess();
}

void StreamTest::SetUp()
{
    ASSERT_TRUE(registerPlugins());
    ASSERT_TRUE(m_folder.isValid());
}

QString StreamTest::store(const QString &name, const QByteArray &content) const
{
    const QString path = m_folder.filePath(name);
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::WriteOnly) && file.write(content) == content.size());
    return path;
}

QString StreamTest::save(const QString &name, const Vellum &image, const SaveOptions &options) const
{
    const QString path = m_folder.filePath(name);
    const SaveResult saved = saveImage(image, path, options);
    EXPECT_TRUE(saved) << qPrintable(name + ": " + saved.message);
    return path;
}

Vellum makePicture(int w, int h, QImage::Format format)
{
    if (format == QImage::Format_Indexed8)
        return makeNoise(w, h, format, Storage::Plain);
    // More pixels Qt would share out over threads, which ThreadSanitizer cannot see through.
    constexpr int kAtOnce = 1 << 12;
    const int rows = qMax(1, kAtOnce / w);
    Vellum picture = makeImage(w, h, format, Storage::Plain);
    for (int top = 0; top < h; top += rows) {
        const Vellum noise = makeNoise(w, qMin(rows, h - top), QImage::Format_RGBA64,
                                       Storage::Plain, unsigned(top) + 1);
        const QImage strip = toPlain(noise).convertToFormat(format);
        picture.setColorTable(strip.colorTable());
        for (int y = 0; y < strip.height(); ++y) {
            std::memcpy(picture.scanLineEx(top + y), strip.constScanLine(y),
                        (size_t(w) * size_t(strip.depth()) + 7) / 8);
        }
    }
    return picture;
}

} // namespace vellum::test
