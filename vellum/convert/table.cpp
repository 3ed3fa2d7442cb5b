#include <vellum/convert/table_p.h>

#include <array>

namespace vellum::convert {

namespace {

template <typename Routine>
struct Cell
{
    QImage::Format from;
    QImage::Format to;
    Routine routine;
};

constexpr auto kMono = QImage::Format_Mono;
constexpr auto kMonoLSB = QImage::Format_MonoLSB;
constexpr auto kIndexed8 = QImage::Format_Indexed8;
constexpr auto kRGB32 = QImage::Format_RGB32;
constexpr auto kARGB32 = QImage::Format_ARGB32;
constexpr auto kARGB32PM = QImage::Format_ARGB32_Premultiplied;
constexpr auto kRGBX8888 = QImage::Format_RGBX8888;
constexpr auto kRGBA8888 = QImage::Format_RGBA8888;
constexpr auto kRGBA8888PM = QImage::Format_RGBA8888_Premultiplied;
constexpr auto kAlpha8 = QImage::Format_Alpha8;
constexpr auto kGrayscale8 = QImage::Format_Grayscale8;
constexpr auto kRGBA64 = QImage::Format_RGBA64;

// The routines of copying conversions. A pair that is not listed has no conversion: big images
// are never converted through a format in between.
constexpr Cell<Converter> kCells[] = {
    {kMono, kMonoLSB, convertMonoToMonoLSB},
    {kMonoLSB, kMono, convertMonoToMonoLSB},
    {kMono, kIndexed8, convertMonoToIndexed8},
    {kMonoLSB, kIndexed8, convertMonoToIndexed8},
    {kMono, kRGB32, convertMonoToX32},
    {kMono, kARGB32, convertMonoToX32},
    {kMono, kARGB32PM, convertMonoToX32},
    {kMonoLSB, kRGB32, convertMonoToX32},
    {kMonoLSB, kARGB32, convertMonoToX32},
    {kMonoLSB, kARGB32PM, convertMonoToX32},

    {kIndexed8, kRGB32, convertIndexed8ToX32},
    {kIndexed8, kARGB32, convertIndexed8ToX32},
    {kIndexed8, kARGB32PM, convertIndexed8ToX32},
    {kIndexed8, kGrayscale8, convertIndexed8ToGrayscale8},
    {kIndexed8, kAlpha8, convertIndexed8ToAlpha8},
    {kIndexed8, kMono, convertXToMono},
    {kIndexed8, kMonoLSB, convertXToMono},
    {kGrayscale8, kIndexed8, convertGrayscale8ToIndexed8},
    {kAlpha8, kIndexed8, convertAlpha8ToIndexed8},

    {kRGB32, kMono, convertXToMono},
    {kRGB32, kMonoLSB, convertXToMono},
    {kRGB32, kIndexed8, convertRGBToIndexed8},
    {kRGB32, kGrayscale8, convertRGBToGrayscale8},
    {kRGB32, kARGB32, maskAlphaConverter},
    {kRGB32, kARGB32PM, maskAlphaConverter},
    {kARGB32, kMono, convertXToMono},
    {kARGB32, kMonoLSB, convertXToMono},
    {kARGB32, kIndexed8, convertARGBToIndexed8},
    {kARGB32, kGrayscale8, convertRGBToGrayscale8},
    {kARGB32, kRGB32, maskAlphaConverter},

    {kRGBA64, kARGB32, convertRGBA64ToARGB32},
};

// The routines of conversions in place. RGBA8888 forgets its alpha on the way to RGB32, and
// RGBX8888, whose alpha is 255, needs no premultiplication.
constexpr Cell<InPlaceConverter> kInPlaceCells[] = {
    {kIndexed8, kGrayscale8, convertIndexed8ToGrayscale8InPlace},
    {kIndexed8, kAlpha8, convertIndexed8ToAlpha8InPlace},
    {kGrayscale8, kIndexed8, convertGrayscale8ToIndexed8InPlace},
    {kAlpha8, kIndexed8, convertAlpha8ToIndexed8InPlace},

    {kRGB32, kARGB32, maskAlphaInPlace<kARGB32>},
    {kRGB32, kARGB32PM, maskAlphaInPlace<kARGB32PM>},
    {kARGB32, kRGB32, maskAlphaInPlace<kRGB32>},

    {kRGBX8888, kRGB32, convertRGBA8888ToRGB32InPlace},
    {kRGBA8888, kRGB32, convertRGBA8888ToRGB32InPlace},
    {kRGBX8888, kARGB32, convertRGBA8888ToARGB32InPlace},
    {kRGBA8888, kARGB32, convertRGBA8888ToARGB32InPlace},
    {kRGBX8888, kARGB32PM, convertRGBA8888ToARGB32PMInPlace},
    {kRGBA8888PM, kARGB32PM, convertRGBA8888ToARGB32PMInPlace},
    {kRGBA8888, kRGBX8888, convertRGBA8888ToRGBX8888InPlace},
};

constexpr int kFormatCount = QImage::Format_BGR888 + 1;

template <typename Routine>
using Table = std::array<std::array<Routine, kFormatCount>, kFormatCount>; // [from][to]

template <typename Routine, size_t Count>
constexpr Table<Routine> makeTable(const Cell<Routine> (&cells)[Count])
{
    Table<Routine> table {}; // null: no conversion
    for (const auto &cell : cells)
        table[cell.from][cell.to] = cell.routine;
    return table;
}

template <typename Routine, size_t Count>
constexpr bool everyCellIsListedOnce(const Cell<Routine> (&cells)[Count])
{
    for (size_t i = 0; i < Count; ++i) {
        if (cells[i].from == cells[i].to)
            return false;
        for (size_t j = 0; j < i; ++j) {
            if (cells[i].from == cells[j].from && cells[i].to == cells[j].to)
                return false;
        }
    }
    return true;
}

constexpr Table<Converter> imageConverterTable = makeTable(kCells);
constexpr Table<InPlaceConverter> inplaceConverterTable = makeTable(kInPlaceCells);

static_assert(kFormatCount == 30, "a new QImage::Format needs a decision here");
static_assert(everyCellIsListedOnce(kCells));
static_assert(everyCellIsListedOnce(kInPlaceCells));

template <typename Routine>
Routine lookedUp(const Table<Routine> &table, QImage::Format from, QImage::Format to)
{
    const auto isFormat = [](int format) { return format >= 0 && format < kFormatCount; };
    return isFormat(from) && isFormat(to) ? table[size_t(from)][size_t(to)] : nullptr;
}

} // namespace

Converter copyingConverter(QImage::Format from, QImage::Format to)
{
    return lookedUp(imageConverterTable, from, to);
}

InPlaceConverter inPlaceConverter(QImage::Format from, QImage::Format to)
{
    return lookedUp(inplaceConverterTable, from, to);
}

} // namespace vellum::convert
