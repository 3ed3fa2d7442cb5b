// The pixel format that Vellum::load leaves, for every format that a plugin can fill.

#include <support/images.h>
#include <support/pixels.h>
#include <support/recordingplugins.h>
#include <utility>

using namespace vellum::test;

namespace {

using Param = std::tuple<QImage::Format, Storage>;

class LoadFormats : public WithRecordingPlugins, public testing::WithParamInterface<Param>
{
protected:
    static QImage::Format format() { return std::get<0>(GetParam()); }
    static Storage storage() { return std::get<1>(GetParam()); }
};

/// Indexed pixels 0 to 255 and back, row after row, with \a table.
Vellum indexed(const QVector<QRgb> &table)
{
    Vellum image(37, 11, QImage::Format_Indexed8);
    image.setColorTable(table);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            setRawPixel(image, x, y, quint64(y * 37 + x) % 256);
    }
    return image;
}

QVector<QRgb> greys(int count)
{
    QVector<QRgb> table;
    for (int i = 0; i < count; ++i)
        table.append(qRgb(i * 7 % 256, i * 7 % 256, i * 7 % 256));
    return table;
}

class LoadPalette : public WithRecordingPlugins, public testing::WithParamInterface<Storage>
{
protected:
    Vellum loaded(const Vellum &pixels, const QByteArray &format = "png")
    {
        provide({pixels});
        Vellum image = makeNoise(pixels.width(), pixels.height(), pixels.format(), GetParam(), 3);
        EXPECT_TRUE(image.load(testImage(format)));
        return image;
    }

    /// Grey levels that \a table, all grey, makes of \a pixels.
    static Vellum looked(const Vellum &pixels, const QVector<QRgb> &table)
    {
        Vellum image(pixels.width(), pixels.height(), QImage::Format_Grayscale8);
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                const auto index = int(rawPixel(pixels, x, y));
                setRawPixel(image, x, y,
                            quint64(index < table.size() ? qBlue(table[index]) : index));
            }
        }
        return image;
    }

    /// Expects equal raw pixels, whatever the formats and tables.
    static void expectSameBytes(const Vellum &a, const Vellum &b)
    {
        for (int y = 0; y < b.height(); ++y)
            EXPECT_EQ(0, std::memcmp(a.scanLineEx(y), b.scanLineEx(y), size_t(b.width())));
    }
};

using LoadPlainPalette = WithRecordingPlugins;

/// What reading \a pixels directly should leave on \a storage.
Vellum normalised(const Vellum &pixels, Storage storage)
{
    if (pixels.depth() == 64) {
        // Big images have a routine for one of the deep formats.
        if (storage == Storage::Big && pixels.format() != QImage::Format_RGBA64)
            return {};
        return Vellum(toPlain(pixels).convertToFormat(QImage::Format_ARGB32));
    }
    Vellum image = pixels.copyEx();
    if (pixels.format() == QImage::Format_RGB32) {
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x)
                setRawPixel(image, x, y, rawPixel(image, x, y) | 0xff000000);
        }
        image.setFormat(QImage::Format_ARGB32);
    }
    if (pixels.format() == QImage::Format_ARGB32_Premultiplied)
        image.setFormat(QImage::Format_ARGB32);
    return image;
}

INSTANTIATE_TEST_SUITE_P(All, LoadFormats,
                         testing::Combine(testing::ValuesIn(allFormats()),
                                          testing::ValuesIn(kStorages)),
                         caseName);
INSTANTIATE_TEST_SUITE_P(Storages, LoadPalette, testing::ValuesIn(kStorages),
                         testing::PrintToStringParamName());

} // namespace

TEST_P(LoadFormats, DirectlyReadPictureIsNormalised)
{
    const Vellum pixels = makeNoise(13, 6, format(), Storage::Plain);
    provide({pixels});
    Vellum image = makeImage(13, 6, format(), storage());

    ASSERT_TRUE(image.load(testImage("tif")));

    const Vellum expected = normalised(pixels, storage());
    if (expected.isNull()) {
        EXPECT_TRUE(image.isNull());
    } else {
        EXPECT_TRUE(samePixels(image, expected));
        EXPECT_EQ(image.isBigImage(), storage() == Storage::Big && pixels.depth() <= 32);
    }
}

// Read through a temporary image, only the 32-bit formats change, and deep ones stay deep.
TEST_P(LoadFormats, OtherPicturesKeepTheirFormat)
{
    const Vellum pixels = makeNoise(13, 6, format(), Storage::Plain);
    provide({pixels});
    Vellum image = makeImage(13, 6, format(), storage());

    ASSERT_TRUE(image.load(testImage("gif")));

    EXPECT_FALSE(image.isBigImage());
    EXPECT_TRUE(
        samePixels(image, pixels.depth() == 64 ? pixels : normalised(pixels, Storage::Plain)));
}

TEST_P(LoadPalette, GreyTableBecomesGreyPixels)
{
    const QVector<QRgb> table = greys(256);
    const Vellum pixels = indexed(table);

    const Vellum image = loaded(pixels);

    EXPECT_EQ(image.format(), QImage::Format_Grayscale8);
    EXPECT_EQ(image.isBigImage(), GetParam() == Storage::Big);
    expectSameBytes(image, looked(pixels, table));
}

TEST_P(LoadPalette, EveryGreyLevelIsExact)
{
    QVector<QRgb> table;
    for (int i = 0; i < 256; ++i)
        table.append(qRgb(255 - i, 255 - i, 255 - i));
    const Vellum pixels = indexed(table);
    expectSameBytes(loaded(pixels), looked(pixels, table));
}

TEST_P(LoadPalette, IndicesBeyondTheTableStay)
{
    for (const int count : {1, 2, 3, 16, 200, 255}) {
        const QVector<QRgb> table = greys(count);
        const Vellum pixels = indexed(table);

        const Vellum image = loaded(pixels);

        EXPECT_EQ(image.format(), QImage::Format_Grayscale8) << count;
        expectSameBytes(image, looked(pixels, table));
    }
}

TEST_P(LoadPalette, EmptyTableCountsAsGrey)
{
    const Vellum pixels = indexed({});

    const Vellum image = loaded(pixels);

    EXPECT_EQ(image.format(), QImage::Format_Grayscale8);
    EXPECT_EQ(image.isBigImage(), GetParam() == Storage::Big);
    expectSameBytes(image, pixels);
}

TEST_P(LoadPalette, GreyPixelsStayInTheBufferThatWasRead)
{
    provide({indexed(greys(256))});
    Vellum image = makeImage(37, 11, QImage::Format_Indexed8, GetParam());
    const uchar *const row = std::as_const(image).scanLineEx(0);

    ASSERT_TRUE(image.load(testImage("png")));

    EXPECT_EQ(std::as_const(image).scanLineEx(0), row);
}

TEST_P(LoadPalette, OneEntryThatIsNotOpaqueGreyKeepsTheTable)
{
    const QRgb others[] = {
        qRgba(9, 9, 9, 254), qRgba(9, 9, 9, 0), qRgb(10, 9, 9),
        qRgb(9, 10, 9),      qRgb(9, 9, 10),    0x00000000,
    };
    for (const QRgb other : others) {
        for (const int at : {0, 100, 255}) {
            QVector<QRgb> table = greys(256);
            table[at] = other;
            const Vellum pixels = indexed(table);

            const Vellum image = loaded(pixels);

            EXPECT_EQ(image.isBigImage(), GetParam() == Storage::Big);
            EXPECT_TRUE(samePixels(image, pixels)) << std::hex << other << " at " << at;
        }
    }
    const QVector<QRgb> oneColour {qRgb(1, 2, 3)};
    EXPECT_TRUE(samePixels(loaded(indexed(oneColour)), indexed(oneColour)));
}

TEST_P(LoadPalette, OtherFormatsKeepGreyTables)
{
    const Vellum pixels = indexed(greys(256));
    const Vellum image = loaded(pixels, "gif");
    EXPECT_TRUE(samePixels(image, pixels));
}

TEST_P(LoadPalette, OneBitImagesStayWhateverTheirTable)
{
    for (const auto format : {QImage::Format_Mono, QImage::Format_MonoLSB}) {
        Vellum pixels = makeNoise(13, 5, format, Storage::Plain);
        pixels.setColorTable({qRgb(200, 200, 200), qRgb(50, 50, 50)});
        EXPECT_TRUE(samePixels(loaded(pixels), pixels));
    }
}

TEST_F(LoadPlainPalette, CopyOfTheImageReadIntoKeepsItsPixelsAndFormat)
{
    provide({indexed(greys(256))});
    Vellum image = makeNoise(37, 11, QImage::Format_Indexed8, Storage::Plain, 3);
    const Vellum copy = image;

    ASSERT_TRUE(image.load(testImage("png")));

    EXPECT_TRUE(samePixels(copy, makeNoise(37, 11, QImage::Format_Indexed8, Storage::Plain, 3)));
}

// A plugin whose picture is not what it announced may lose colours, but nothing outside its rows.
TEST_F(LoadPlainPalette, AnnouncedIndicesMayTurnOutToBeSomethingElse)
{
    for (const QImage::Format real : allFormats()) {
        for (const QImage::Format announced :
             {QImage::Format_Indexed8, QImage::Format_RGB32, QImage::Format_ARGB32_Premultiplied,
              QImage::Format_RGBA64, QImage::Format_Mono}) {
            Vellum pixels = makeNoise(13, 5, real, Storage::Plain);
            if (pixels.colorCount() == 2)
                pixels.setColorTable({qRgb(200, 200, 200), qRgb(50, 50, 50)});
            Picture picture {pixels};
            picture.profile = QByteArray("damaged");
            provide(picture);
            recorder().first.values[QImageIOHandler::ImageFormat] = int(announced);
            Vellum image;
            image.load(testImage("png"));
            EXPECT_TRUE(image.isNull() || image.size() == QSize(13, 5)) << real << " " << announced;
        }
    }
}
