// Conversion between all formats on both storages, against QImage on an equal plain image.

#include <QColorSpace>

#include <convert/pictures.h>

using namespace vellum::test;

namespace {

/// Rows enough for several strips where the image is wide.
Vellum makeSource(QImage::Format format, Storage storage, int w, int h, int extraStride = 0)
{
    const Vellum picture = makePicture(w, h, QImage::Format_ARGB32, Storage::Plain, Content::Photo);
    const QImage plain = picture.toImage().convertToFormat(format);
    Vellum image = makeImage(w, h, format, storage, extraStride);
    image.setColorTable(plain.colorTable());
    for (int y = 0; y < h; ++y)
        std::memcpy(image.scanLineEx(y), plain.constScanLine(y), size_t(plain.bytesPerLine()));
    return image;
}

constexpr int kModes[] = {0x00, 0x10, 0x20, 0x30, 0x40, 0x48, 0x54, 0x64, 0x88};

class Converted : public testing::TestWithParam<std::tuple<QImage::Format, Storage>>
{
};

TEST_P(Converted, EqualsQImageForEveryDestinationAndMode)
{
    const auto [from, storage] = GetParam();
    const Vellum image = makeSource(from, storage, 67, 41, 12);
    const QImage plain = toPlain(image);
    for (const QImage::Format to : allFormats()) {
        for (const int mode : kModes) {
            const Qt::ImageConversionFlags flags = QFlag(mode);
            const QImage expected = plain.convertToFormat(to, flags);
            for (const vellum::Storage kind : {vellum::Storage::Plain, vellum::Storage::Big}) {
                const Vellum result = vellum::converted(image, to, flags, kind);
                ASSERT_EQ(result.isBigImage(), kind == vellum::Storage::Big);
                ASSERT_TRUE(samePixels(result, expected))
                    << "to format " << to << ", flags 0x" << std::hex << mode;
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Formats, Converted,
                         testing::Combine(testing::ValuesIn(allFormats()),
                                          testing::ValuesIn(kStorages)),
                         caseName);

} // namespace
