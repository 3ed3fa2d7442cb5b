#include <QBuffer>
#include <QDataStream>

#include <gtest/gtest.h>
#include <rapidcheck.h>
#include <rapidcheck/gtest.h>

#include <cstring>
#include <random>
#include <support/hrle.h>
#include <support/images.h>
#include <support/messages.h>

using namespace vellum::test;

namespace {

QByteArray write(const Vellum &image)
{
    const MessageLog log;
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    QDataStream stream(&buffer);
    RC_ASSERT(HrleHandler().writeStream(stream, image));
    return buffer.data();
}

Vellum read(QByteArray bytes)
{
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    QDataStream stream(&buffer);
    Vellum image;
    RC_ASSERT(HrleHandler().readStream(stream, image));
    return image;
}

/// An image of runs up to \a longest bytes, some rows equal to the one above.
Vellum randomImage(int longest)
{
    const int width = *rc::gen::inRange(1, 700);
    const int height = *rc::gen::inRange(1, 40);
    const auto storage = *rc::gen::element(Storage::Plain, Storage::Big);
    const int extraStride = storage == Storage::Big ? *rc::gen::inRange(0, 9) : 0;
    Vellum image = makeImage(width, height, QImage::Format_Grayscale8, storage, extraStride);
    std::mt19937 random(*rc::gen::arbitrary<unsigned>());
    const int bytes = image.bytesPerLine();
    for (int y = 0; y < height; ++y) {
        uchar *const row = image.scanLineEx(y);
        if (y > 0 && random() % 3 != 0) {
            std::memcpy(row, image.scanLineEx(y - 1), size_t(bytes));
            continue;
        }
        for (int x = 0; x < bytes;) {
            const int length = qMin(bytes - x, int(1 + random() % unsigned(longest)));
            std::memset(row + x, int(random() % 3 * 100), size_t(length));
            x += length;
        }
    }
    return image;
}

// Long runs are encoded mostly, short ones are not.
RC_GTEST_PROP(HrleRoundTrip, WrittenBytesAreThoseOfTheNaiveEncoder, ())
{
    const Vellum image = randomImage(*rc::gen::element(3, 60, 2000));
    RC_ASSERT(write(image) == expectedFile(image));
}

RC_GTEST_PROP(HrleRoundTrip, PixelsComeBack, ())
{
    const Vellum image = randomImage(*rc::gen::element(3, 60, 2000));
    const QByteArray file = write(image);

    const Vellum copy = read(file);

    RC_CLASSIFY(file[30] == 1, "encoded");
    RC_ASSERT(copy.size() == image.size());
    RC_ASSERT(rowsOf(copy) == rowsOf(image));
}

/// Words that are likely to matter to an image with rows of \a bytes bytes.
QByteArray randomWord(int bytes)
{
    return *rc::gen::oneOf(
        rc::gen::map(rc::gen::inRange(0, bytes + 3), [](int n) { return run(quint32(n), n * 7); }),
        rc::gen::map(rc::gen::inRange(0U, 5U), [](quint32 n) { return endRow(n); }),
        rc::gen::just(run(quint32(bytes), 9) + endRow(1)),
        rc::gen::map(rc::gen::arbitrary<quint32>(), [](quint32 word) { return le32(word); }));
}

RC_GTEST_PROP(HrleRoundTrip, AnyWordsAreReadAsTheNaiveDecoderReadsThem, ())
{
    const int width = *rc::gen::inRange(1, 30);
    const int height = *rc::gen::inRange(1, 12);
    const int bytes = (width + 3) / 4 * 4;
    QByteArray data;
    for (int left = *rc::gen::inRange(0, 40); left > 0; --left)
        data += randomWord(bytes);

    const Vellum image = read(runLengthFile(width, height, data));

    RC_ASSERT(rowsOf(image) == naiveDecode(data, height, bytes));
}

} // namespace
