#include <vellum/geometry/mirror_p.h>
#include <vellum/geometry/mirrorbits_p.h>
#include <vellum/geometry/pixels_p.h>
#include <vellum/geometry/reverserow_p.h>
#include <vellum/image/copybytes_p.h>
#include <vellum/image/progress.h>
#include <vellum/image/rowruns_p.h>
#include <vellum/image/vellum.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>

namespace vellum::geometry {

namespace {

/// Reports \a done of \a total as a percentage up to \a unit; mirroring cannot be cancelled.
void report(const Vellum *image, int unit, int done, int total)
{
    image_progress(image, int(qint64(unit) * done / total));
}

template <typename Pixel>
void exchange(uchar *a, qptrdiff i, uchar *b, qptrdiff j)
{
    const auto pixel = loadPixel<Pixel>(a, i);
    storePixel(a, i, loadPixel<Pixel>(b, j));
    storePixel(b, j, pixel);
}

/// Exchanges pixel x of \a a with pixel startX - x of \a b, for x below \a pixels; in one row
/// that is its first half.
template <typename Pixel>
void exchangeReversed(uchar *a, uchar *b, int startX, int pixels)
{
    constexpr int kPiece = 1024 / int(sizeof(Pixel));
    uchar piece[kPiece * sizeof(Pixel)];
    const ReverseRow reverse = reverseRow(sizeof(Pixel));
    for (int x = 0; x < pixels; x += kPiece) {
        const int count = qMin(kPiece, pixels - x);
        uchar *const left = a + qptrdiff(x) * qptrdiff(sizeof(Pixel));
        uchar *const right = b + qptrdiff(startX + 1 - x - count) * qptrdiff(sizeof(Pixel));
        reverse(piece, left, count);
        reverse(left, right, count);
        std::memcpy(right, piece, size_t(count) * sizeof(Pixel));
    }
}

template <typename Pixel>
void mirrorCopy(Vellum &destination, const Vellum &source, int startX, int stepX, int stepY,
                int width)
{
    const ReverseRow reverse = reverseRow(sizeof(Pixel));
    const qptrdiff leftmost = stepX < 0 ? (startX - (width - 1)) * qptrdiff(sizeof(Pixel)) : 0;
    const auto move = [=](uchar *out, const uchar *in) {
        if (stepX < 0)
            reverse(out + leftmost, in, width);
        else
            std::memcpy(out, in, size_t(width) * sizeof(Pixel));
    };
    image::moveRows(destination, stepY < 0 ? image::Walk::Up : image::Walk::Down, source, move,
                    [](int) { return true; });
}

template <typename Pixel>
void mirrorInside(Vellum &image, int startX, unsigned startY, int stepX, int stepY, int width,
                  int height)
{
    const bool horizontal = startX != 0;
    const bool vertical = startY != 0;
    const bool middleRow = horizontal && vertical && height % 2 == 1;
    const int pixels = horizontal && !vertical ? width / 2 : width;
    const int rows = vertical ? height / 2 : height;
    const int unit = middleRow ? 50 : 100;
    for (int y = 0; y < rows; ++y) {
        uchar *const a = image.scanLine(y);
        uchar *const b = image.scanLine(int(startY) + y * stepY);
        if (a && b && stepX < 0)
            exchangeReversed<Pixel>(a, b, startX, pixels);
        else if (a && b && a != b)
            std::swap_ranges(a, a + qptrdiff(pixels) * qptrdiff(sizeof(Pixel)), b);
        report(&image, unit, y + 1, rows);
    }
    if (!middleRow)
        return;
    // Its pixels count from nothing to 50 once more: callers show two passes of half a bar each.
    const int pairs = width / 2;
    for (int k = 1; k <= pairs; ++k) {
        if (uchar *const row = image.scanLine(height / 2))
            exchange<Pixel>(row, k - 1, row, startX - (k - 1));
        report(&image, 50, k, pairs);
    }
}

template <typename Pixel>
void mirrorPixels(Vellum *destination, const Vellum *source, int startX, unsigned startY, int stepX,
                  int stepY, int width, int height)
{
    if (destination == source)
        mirrorInside<Pixel>(*destination, startX, startY, stepX, stepY, width, height);
    else
        mirrorCopy<Pixel>(*destination, *source, startX, stepX, stepY, width);
}

void copyRowsUpsideDown(Vellum &destination, const Vellum &source)
{
    const int height = source.height();
    const auto bytes = size_t(qMin(source.storedBytesPerLine(), destination.storedBytesPerLine()));
    const auto copy = image::rowCopier(source.sizeInBytes());
    const auto copyRow = [=](uchar *out, const uchar *in) { copy(out, in, bytes); };
    image::moveRows(destination, image::Walk::Up, source, copyRow, [&](int rows) {
        report(&source, 100, rows, height);
        return true;
    });
}

void swapRows(Vellum &image)
{
    const int height = image.height();
    const auto bytes = size_t(image.storedBytesPerLine());
    const std::unique_ptr<uchar[]> buffer(new (std::nothrow) uchar[bytes]);
    for (int y = 0; buffer && y < height / 2; ++y) {
        uchar *const a = image.scanLine(y);
        uchar *const b = image.scanLine(height - 1 - y);
        if (a && b) {
            std::memcpy(buffer.get(), a, bytes);
            std::memcpy(a, b, bytes);
            std::memcpy(b, buffer.get(), bytes);
        }
        report(&image, 100, y + 1, height / 2);
    }
}

MirrorKernel *kernelFor(int depth)
{
    switch (depth) {
    case 1: // whole bytes first
    case 8:
        return mirrorPixels8;
    case 16:
        return mirrorPixels16;
    case 24:
        return mirrorPixels24;
    case 32:
        return mirrorPixels32;
    case 64:
        return mirrorPixels64;
    default:
        return nullptr;
    }
}

} // namespace

void mirrorPixels8(Vellum *destination, const Vellum *source, int startX, unsigned startY,
                   int stepX, int stepY, int width, int height)
{
    mirrorPixels<quint8>(destination, source, startX, startY, stepX, stepY, width, height);
}

void mirrorPixels16(Vellum *destination, const Vellum *source, int startX, unsigned startY,
                    int stepX, int stepY, int width, int height)
{
    mirrorPixels<quint16>(destination, source, startX, startY, stepX, stepY, width, height);
}

void mirrorPixels24(Vellum *destination, const Vellum *source, int startX, unsigned startY,
                    int stepX, int stepY, int width, int height)
{
    mirrorPixels<Pixel24>(destination, source, startX, startY, stepX, stepY, width, height);
}

void mirrorPixels32(Vellum *destination, const Vellum *source, int startX, unsigned startY,
                    int stepX, int stepY, int width, int height)
{
    mirrorPixels<quint32>(destination, source, startX, startY, stepX, stepY, width, height);
}

void mirrorPixels64(Vellum *destination, const Vellum *source, int startX, unsigned startY,
                    int stepX, int stepY, int width, int height)
{
    mirrorPixels<quint64>(destination, source, startX, startY, stepX, stepY, width, height);
}

void do_mirror(Vellum *destination, const Vellum *source, bool horizontal, bool vertical)
{
    if (vertical && !horizontal) {
        if (destination == source)
            swapRows(*destination);
        else
            copyRowsUpsideDown(*destination, *source);
        return;
    }

    const int depth = source->depth();
    const int bytesPerPixel = qMax(1, depth / 8);
    const int units = depth == 1 ? (source->width() + 7) / 8 : source->width();
    // In place, of a store made narrower than its image the part that is there is mirrored in
    // itself; in a copy it goes to the other end.
    const int room = qMin(units, destination->storedBytesPerLine() / bytesPerPixel);
    const int width = qMin(room, source->storedBytesPerLine() / bytesPerPixel);
    const int height = source->height();
    MirrorKernel *const kernel = kernelFor(depth);
    if (!kernel || width < 1)
        return;
    kernel(destination, source, horizontal ? room - 1 : 0, unsigned(vertical ? height - 1 : 0),
           horizontal ? -1 : 1, vertical ? -1 : 1, width, height);

    if (!horizontal || destination->depth() != 1)
        return;
    const auto order = image::bitOrderOf(destination->format());
    for (int y = 0; y < height; ++y) {
        if (uchar *const row = destination->scanLine(y)) {
            mirrorBitsInRow(row, destination->width(), order, destination->storedBytesPerLine());
        }
    }
}

} // namespace vellum::geometry
