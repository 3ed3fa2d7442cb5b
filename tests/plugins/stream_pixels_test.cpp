// Pictures that flow from file to file: every kind into every kind, whole, cut and reduced.

#include <plugins/png.h>
#include <support/jpegfile.h>
#include <support/streaming.h>

using namespace vellum;
using namespace vellum::test;

namespace {

// Higher than the least window, and no multiple of the pieces of one.
constexpr int kWidth = 45;
constexpr int kHeight = 301;

struct SourceKind
{
    const char *suffix;
    QImage::Format format;
    bool cmyk = false;
};

constexpr SourceKind kSources[] = {
    {"png", QImage::Format_Mono},        {"png", QImage::Format_Indexed8},
    {"png", QImage::Format_Grayscale8},  {"png", QImage::Format_Grayscale16},
    {"png", QImage::Format_RGB32},       {"png", QImage::Format_ARGB32},
    {"png", QImage::Format_RGBX64},      {"png", QImage::Format_RGBA64},
    {"tif", QImage::Format_Mono},        {"tif", QImage::Format_Indexed8},
    {"tif", QImage::Format_Grayscale16}, {"tif", QImage::Format_RGB32},
    {"tif", QImage::Format_RGB32, true}, {"tif", QImage::Format_RGBA64},
    {"jpg", QImage::Format_Grayscale8},  {"jpg", QImage::Format_RGB32},
    {"jpg", QImage::Format_RGB32, true}, {"bmp", QImage::Format_Mono},
    {"bmp", QImage::Format_Indexed8},    {"bmp", QImage::Format_RGB32},
    {"bmp", QImage::Format_ARGB32},      {"pbm", QImage::Format_Mono},
    {"pgm", QImage::Format_Grayscale16}, {"ppm", QImage::Format_RGB32},
    {"xbm", QImage::Format_Mono},        {"xpm", QImage::Format_Indexed8},
};

const char *const kTargets[] = {"png", "tif", "jpg", "bmp", "pbm", "pgm", "ppm", "xbm", "xpm"};

/// Only BMP files are stored, and written, from the bottom up.
bool isBottomUp(const QByteArray &suffix) { return suffix == "bmp"; }

class Streaming : public StreamTest
{
protected:
    QString source(const SourceKind &kind, int w = kWidth, int h = kHeight) const
    {
        SaveOptions options;
        options.cmyk = kind.cmyk;
        return save(QStringLiteral("source.") + QLatin1String(kind.suffix),
                    makePicture(w, h, kind.format), options);
    }
};

class Kinds : public Streaming, public testing::WithParamInterface<SourceKind>
{
protected:
    /// The same \a wishes into every kind of file.
    void expectAll(const QString &file, Wishes wishes) const
    {
        for (const char *const target : kTargets) {
            SCOPED_TRACE(target);
            wishes.save.format = target;
            if (isBottomUp(GetParam().suffix) == isBottomUp(target)) {
                EXPECT_TRUE(streamsAlike(file, wishes));
                continue;
            }
            const Streamed flowed = streamed(file, wishes);
            EXPECT_EQ(flowed.result.outcome, StreamResult::NotPossible);
            EXPECT_FALSE(flowed.result.obstacle.isEmpty());
            EXPECT_TRUE(flowed.file.isEmpty());
        }
    }
};

INSTANTIATE_TEST_SUITE_P(Sources, Kinds, testing::ValuesIn(kSources), [](const auto &kind) {
    return kind.param.suffix + std::to_string(int(kind.param.format)) +
        (kind.param.cmyk ? "Inks" : "");
});

} // namespace

TEST_P(Kinds, WholePictures) { expectAll(source(GetParam()), {}); }

TEST_P(Kinds, Regions)
{
    Wishes wishes;
    wishes.open.region = {11, 37, 23, 171};
    expectAll(source(GetParam()), wishes);
}

TEST_P(Kinds, ReducedPictures)
{
    Wishes wishes;
    wishes.open.size = {29, 128};
    expectAll(source(GetParam()), wishes);
}

TEST_P(Kinds, ReducedRegions)
{
    Wishes wishes;
    wishes.open.region = {3, 5, 40, 290};
    wishes.open.size = {10, 97};
    expectAll(source(GetParam()), wishes);
}

TEST_P(Kinds, PicturesOfOnePixel) { expectAll(source(GetParam(), 1, 1), {}); }

TEST_P(Kinds, Inks)
{
    const QString file = source(GetParam());
    Wishes wishes;
    wishes.save.cmyk = true;
    for (const char *const target : {"tif", "jpg"}) {
        wishes.save.format = target;
        if (!isBottomUp(GetParam().suffix)) {
            EXPECT_TRUE(streamsAlike(file, wishes)) << target;
        }
    }
}

TEST_P(Kinds, ConvertedRows)
{
    const QString file = source(GetParam());
    for (const auto format : {QImage::Format_RGB32, QImage::Format_RGBA64,
                              QImage::Format_Grayscale8, QImage::Format_Grayscale16}) {
        Wishes wishes;
        wishes.conversion = [format](const Vellum &strip) { return converted(strip, format); };
        wishes.save.format = isBottomUp(GetParam().suffix) ? "bmp" : "png";
        EXPECT_TRUE(streamsAlike(file, wishes)) << int(format);
    }
}

TEST_F(Streaming, HeightsAroundThoseOfTheWindow)
{
    Wishes wishes;
    wishes.save.format = "ppm";
    for (const int height : {2, 8, 63, 64, 65, 66, 72, 73, 74, 79, 80, 81, 88, 145, 160}) {
        const QString png = source({"png", QImage::Format_RGB32}, 19, height);
        EXPECT_TRUE(streamsAlike(png, wishes)) << height;
        wishes.conversion = [](const Vellum &strip) {
            return converted(strip, QImage::Format_Grayscale8);
        };
        EXPECT_TRUE(streamsAlike(png, wishes)) << height;
        wishes.conversion = {};
    }
}

TEST_F(Streaming, BottomUpHeightsAroundThoseOfTheWindow)
{
    Wishes wishes;
    wishes.save.format = "bmp";
    for (const int height : {2, 64, 73, 80, 81, 145, 160}) {
        const QString bmp = source({"bmp", QImage::Format_RGB32}, 19, height);
        EXPECT_TRUE(streamsAlike(bmp, wishes)) << height;
        wishes.conversion = [](const Vellum &strip) {
            return converted(strip, QImage::Format_Grayscale8);
        };
        EXPECT_TRUE(streamsAlike(bmp, wishes)) << height;
        wishes.conversion = {};
    }
}

TEST_F(Streaming, WideRowsOfWhichOneFillsAPiece)
{
    Wishes wishes;
    wishes.save.format = "tif";
    EXPECT_TRUE(streamsAlike(source({"ppm", QImage::Format_RGB32}, 1500000, 5), wishes));
    EXPECT_TRUE(streamsAlike(source({"png", QImage::Format_Mono}, 1000003, 7), wishes));
}

TEST_F(Streaming, MorePixelsThanTheLargestWindow)
{
    Wishes wishes;
    wishes.save.format = "ppm";
    EXPECT_TRUE(streamsAlike(source({"tif", QImage::Format_RGB32}, 2001, 3003), wishes));
}

TEST_F(Streaming, JpegFilesOfEveryKind)
{
    for (const JpegKind &kind : allKinds()) {
        const QString file = store(QStringLiteral("source.jpg"),
                                   makeJpeg(photoSamples(kWidth, kHeight, kind.perPixel()), kind));
        Wishes wishes;
        wishes.save.format = "png";
        EXPECT_TRUE(streamsAlike(file, wishes)) << kind.name;
        wishes.open.size = {20, 133};
        EXPECT_TRUE(streamsAlike(file, wishes)) << kind.name;
    }
}

TEST_F(Streaming, ProgressiveJpegFilesAreWritten)
{
    Wishes wishes;
    wishes.save.format = "jpg";
    wishes.save.progressive = true;
    wishes.save.quality = 60;
    EXPECT_TRUE(streamsAlike(source({"png", QImage::Format_RGB32}), wishes));
    wishes.save.progressive = false;
    wishes.save.optimized = true;
    EXPECT_TRUE(streamsAlike(source({"png", QImage::Format_RGB32}), wishes));
}

TEST_F(Streaming, EveryKindOfTiffFileIsWritten)
{
    Wishes wishes;
    wishes.save.format = "tif";
    for (const char *const subType : {"none", "lzw", "deflate-tiled", "big"}) {
        wishes.save.subType = subType;
        EXPECT_TRUE(streamsAlike(source({"png", QImage::Format_RGB32}, 600, 301), wishes))
            << subType;
    }
}

TEST_F(Streaming, InterlacedFilesAreLeftToTheOtherWay)
{
    PngFile png;
    png.interlaced = true;
    const QString file = store(QStringLiteral("source.png"), makePng(png));
    Wishes wishes;
    wishes.save.format = "png";
    EXPECT_EQ(streamed(file, wishes).result.outcome, StreamResult::NotPossible);
    png.interlaced = false;
    EXPECT_TRUE(streamsAlike(store(QStringLiteral("source.png"), makePng(png)), wishes));
}

TEST_F(Streaming, WhatIsNotPossibleLeavesTheFileToBeRead)
{
    const QString path = source({"png", QImage::Format_RGB32});
    PictureFile file(path);
    Wishes wishes;
    wishes.open.region = {1, 2, 30, 40};
    wishes.open.size = {15, 20};
    wishes.save.format = "bmp";
    QBuffer buffer;
    buffer.open(QIODevice::ReadWrite);
    ASSERT_EQ(streamPicture(file, wishes.open, buffer, wishes.save).outcome,
              StreamResult::NotPossible);

    Vellum image;
    ASSERT_TRUE(file.read(image, Wishes::decoded()));

    Vellum expected;
    ASSERT_TRUE(openImage(expected, path, Wishes::decoded()));
    EXPECT_TRUE(samePixels(image, expected));
}

TEST_F(Streaming, WishesForTheWholePictureAreLeftToTheOtherWay)
{
    const QString file = source({"png", QImage::Format_RGB32});
    const auto outcome = [&](auto change) {
        Wishes wishes;
        wishes.save.format = "png";
        change(wishes);
        const StreamResult result = streamed(file, wishes).result;
        EXPECT_EQ(result.obstacle.isEmpty(), result.outcome != StreamResult::NotPossible);
        return result.outcome;
    };
    EXPECT_EQ(outcome([](Wishes &) {}), StreamResult::Done);
    EXPECT_EQ(outcome([](Wishes &w) { w.open.format = OpenedFormat::Common; }),
              StreamResult::NotPossible);
    EXPECT_EQ(outcome([](Wishes &w) { w.open.colors = PixelColors::Srgb; }),
              StreamResult::NotPossible);
    EXPECT_EQ(outcome([](Wishes &w) { w.open.page = 1; }), StreamResult::NotPossible);
    EXPECT_EQ(outcome([](Wishes &w) {
                  w.open.region = {40, 0, 10, 10};
              }),
              StreamResult::NotPossible);
    EXPECT_EQ(outcome([](Wishes &w) { w.save.sizeOnly = true; }), StreamResult::NotPossible);
    EXPECT_EQ(outcome([](Wishes &w) { w.save.format = "hrle"; }), StreamResult::NotPossible);
    EXPECT_EQ(outcome([](Wishes &w) { w.save.format = "nothing"; }), StreamResult::NotPossible);
    EXPECT_EQ(outcome([](Wishes &w) { w.save.cmyk = true; }), StreamResult::NotPossible);
    EXPECT_EQ(outcome([](Wishes &w) {
                  w.open.limits = Limits {100, Limits::kNone};
              }),
              StreamResult::NotPossible);
    EXPECT_EQ(outcome([](Wishes &w) {
                  w.open.limits = Limits {Limits::kNone, 5000};
              }),
              StreamResult::NotPossible);
}

TEST_F(Streaming, FilesOfNoPictureSayWhatIsWrong)
{
    const QString file = store(QStringLiteral("source.png"), "no picture");
    Wishes wishes;
    wishes.save.format = "png";
    const StreamResult result = streamed(file, wishes).result;
    EXPECT_EQ(result.outcome, StreamResult::NotPossible);
    EXPECT_EQ(result.obstacle, PictureFile(file).result().message);
}

TEST_F(Streaming, EveryPageOfAFile)
{
    const Vellum first = makePicture(33, 200, QImage::Format_RGB32);
    const Vellum second = makePicture(21, 150, QImage::Format_Grayscale8);
    PageChain pages;
    pages.append(first);
    pages.append(second);
    const QString file = store(QStringLiteral("source.tif"), {});
    ASSERT_TRUE(savePages(pages, file));
    Wishes wishes;
    wishes.save.format = "png";
    for (const int page : {0, 1}) {
        wishes.open.page = page;
        EXPECT_TRUE(streamsAlike(file, wishes)) << page;
    }
}
