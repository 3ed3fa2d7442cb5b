// vellum crop and vellum paste.

#include "tool.h"
#include <vellum/vellum.h>

#include <QColor>

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <support/images.h>
#include <tuple>

using namespace vellum::test;

namespace {

class CuttingFormat : public testing::TestWithParam<std::tuple<QImage::Format, const char *>>
{
protected:
    CuttingFormat()
    {
        in = folder.write("in.png",
                          encoded(photoLike(61, 43, std::get<QImage::Format>(GetParam())), "png"));
        picture = QImage(in);
    }

    QStringList storage() const
    {
        return {"--storage", QString::fromLatin1(std::get<const char *>(GetParam()))};
    }

    QImage cropped(const QRect &area)
    {
        QStringList arguments {"crop", in, folder.path("out.png")};
        for (const int number : {area.x(), area.y(), area.width(), area.height()})
            arguments += QString::number(number);
        EXPECT_TRUE(succeeds(arguments + storage()));
        return QImage(folder.path("out.png"));
    }

    Folder folder;
    QString in;
    QImage picture;
};

using Crop = CuttingFormat;

/// The colour of what lies outside pictures without a palette.
QColor outsideColor(const QImage &picture)
{
    if (picture.format() == QImage::Format_ARGB32)
        return Qt::transparent;
    return picture.format() == QImage::Format_RGB32 ? Qt::black : Qt::white;
}

/// The index of what lies outside pictures with one: the first transparent colour, or the first.
uint outsideIndex(const QImage &picture)
{
    for (int i = 0; i < picture.colorCount(); ++i) {
        if (qAlpha(picture.color(i)) == 0)
            return uint(i);
    }
    return 0;
}

} // namespace

TEST_P(Crop, InsideIsACopy)
{
    for (const QRect &area : {QRect(0, 0, 61, 43), QRect(7, 5, 1, 1), QRect(13, 9, 37, 34)})
        EXPECT_TRUE(samePixels(cropped(area), picture.copy(area)));
}

TEST_P(Crop, OutsideIsFilled)
{
    for (const QRect &area : {QRect(-9, -5, 80, 60), QRect(50, 40, 23, 17), QRect(-30, 10, 40, 4),
                              QRect(100, 0, 5, 5), QRect(0, -1000, 3, 2), QRect(5, 42, 3, 3)}) {
        QImage expected = picture.copy(area);
        for (int y = 0; y < area.height(); ++y) {
            for (int x = 0; x < area.width(); ++x) {
                if (picture.rect().contains(area.topLeft() + QPoint(x, y)))
                    continue;
                if (picture.colorCount() > 0)
                    expected.setPixel(x, y, outsideIndex(picture));
                else
                    expected.setPixelColor(x, y, outsideColor(picture));
            }
        }
        EXPECT_TRUE(samePixels(cropped(area), expected))
            << area.x() << " " << area.y() << " " << area.width() << " " << area.height();
    }
}

INSTANTIATE_TEST_SUITE_P(
    Formats, Crop,
    testing::Combine(testing::Values(QImage::Format_Mono, QImage::Format_Indexed8,
                                     QImage::Format_RGB32, QImage::Format_ARGB32,
                                     QImage::Format_Grayscale8, QImage::Format_Grayscale16,
                                     QImage::Format_RGBA64),
                     testing::Values("auto", "plain", "big")),
    [](const auto &test) {
        return "Format" + std::to_string(std::get<0>(test.param)) + std::get<1>(test.param);
    });

TEST(CropFile, StorageDoesNotChangeIt)
{
    const Folder folder;
    const QString in = folder.write("in.png", encoded(photoLike(301, 47), "png"));
    for (const char *kind : {".png", ".bmp", ".hrle"}) {
        for (const char *storage : {"plain", "big"}) {
            ASSERT_TRUE(succeeds({"crop", "--storage", storage, in, folder.path(storage) + kind,
                                  "-3", "5", "299", "50"}));
        }
        EXPECT_EQ(folder.read(QString("plain") + kind), folder.read(QString("big") + kind));
    }
}

// Several bands of rows.
TEST(CropFile, MayBeLarge)
{
    const Folder folder;
    const QString in =
        folder.write("in.png", encoded(photoLike(1501, 1203, QImage::Format_Grayscale8), "png"));

    ASSERT_TRUE(succeeds(
        {"crop", "--storage", "big", in, folder.path("a.hrle"), "1", "3", "1499", "1200"}));
    ASSERT_TRUE(succeeds({"convert", folder.path("a.hrle"), folder.path("out.png")}));

    EXPECT_TRUE(
        samePixels(QImage(folder.path("out.png")), QImage(in).copy(QRect(1, 3, 1499, 1200))));
}

TEST(CropFile, TooLargeForMemoryIsRefused)
{
    const Folder folder;
    const QString in = folder.write("in.png", encoded(photoLike(61, 43), "png"));
    for (const char *storage : {"plain", "big"}) {
        const ToolResult result =
            runTool({"crop", "--storage", storage, in, folder.path("out.png"), "-1000000000",
                     "-1000000000", "1073741824", "1073741824"});

        EXPECT_EQ(result.exitCode, 3);
        EXPECT_TRUE(isOneErrorLine(result.err, "memory"));
        EXPECT_EQ(folder.names(), QStringList({"in.png"}));
    }
}

namespace {

/// What pasting means: \a base with the pixels of \a upper, which has its format.
QImage pasted(QImage base, const QImage &upper, int x, int y)
{
    const int bytes = base.depth() / 8;
    for (int row = 0; row < upper.height(); ++row) {
        for (int column = 0; column < upper.width(); ++column) {
            if (!base.rect().contains(x + column, y + row))
                continue;
            std::memcpy(base.scanLine(y + row) + (x + column) * bytes,
                        upper.constScanLine(row) + column * bytes, size_t(bytes));
        }
    }
    return base;
}

} // namespace

using Formats = std::tuple<QImage::Format, QImage::Format, const char *>;

class Paste : public testing::TestWithParam<Formats>
{
};

TEST_P(Paste, ReplacesPixelsInTheFormatOfTheBase)
{
    const auto [baseFormat, upperFormat, storage] = GetParam();
    const Folder folder;
    const QString base = folder.write("base.png", encoded(photoLike(61, 43, baseFormat), "png"));
    const QString in =
        folder.write("in.png", encoded(photoLike(33, 29, upperFormat).mirrored(), "png"));
    const QImage lower(base);
    const QImage upper = QImage(in).convertToFormat(lower.format());
    const QString out = folder.path("out.png");
    for (const auto &[x, y] : {std::pair(11, 9), {-7, -5}, {50, -3}, {-3, 40}, {61, 0}, {0, -29}}) {
        ASSERT_TRUE(succeeds({"paste", "--storage", storage, base, in, out, QString::number(x),
                              QString::number(y)}));
        EXPECT_TRUE(samePixels(QImage(out), asPng(pasted(lower, upper, x, y)))) << x << ", " << y;
    }
}

INSTANTIATE_TEST_SUITE_P(
    Formats, Paste,
    testing::Combine(testing::Values(QImage::Format_RGB32, QImage::Format_ARGB32,
                                     QImage::Format_Grayscale8, QImage::Format_Grayscale16,
                                     QImage::Format_RGBA64),
                     testing::Values(QImage::Format_RGB32, QImage::Format_ARGB32,
                                     QImage::Format_Mono, QImage::Format_Grayscale8,
                                     QImage::Format_RGBA64),
                     testing::Values("plain", "big")),
    [](const auto &test) {
        return "Format" + std::to_string(std::get<1>(test.param)) + "OnFormat" +
            std::to_string(std::get<0>(test.param)) + std::get<2>(test.param);
    });

class PasteOnPalette : public testing::TestWithParam<QImage::Format>
{
};

TEST_P(PasteOnPalette, KeepsTheColoursOfBoth)
{
    const Folder folder;
    QImage lower = photoLike(61, 43).convertToFormat(GetParam());
    const QString base = folder.write("base.png", encoded(lower, "png"));
    const QString in = folder.write("in.png", encoded(photoLike(33, 29), "png"));

    for (const char *storage : {"plain", "big"}) {
        ASSERT_TRUE(succeeds(
            {"paste", "--storage", storage, base, in, folder.path("out.png"), "11", "-9"}));
        const QImage expected =
            pasted(QImage(base).convertToFormat(QImage::Format_RGB32), QImage(in), 11, -9);
        EXPECT_TRUE(samePixels(QImage(folder.path("out.png")), expected));
    }
}

INSTANTIATE_TEST_SUITE_P(Formats, PasteOnPalette,
                         testing::Values(QImage::Format_Mono, QImage::Format_Indexed8));

TEST(PasteFile, WithTheSamePaletteKeepsIt)
{
    const Folder folder;
    const QImage image = photoLike(61, 43).convertToFormat(QImage::Format_Indexed8);
    const QString base = folder.write("base.png", encoded(image, "png"));

    ASSERT_TRUE(succeeds({"paste", base, base, folder.path("out.png"), "20", "10"}));

    const QImage lower(base);
    ASSERT_EQ(lower.format(), QImage::Format_Indexed8);
    EXPECT_TRUE(samePixels(QImage(folder.path("out.png")), pasted(lower, lower, 20, 10)));
}

TEST(PasteFile, NeitherInputChanges)
{
    const Folder folder;
    const QString base = folder.write("base.png", encoded(photoLike(61, 43), "png"));
    const QByteArray before = folder.read("base.png");

    ASSERT_TRUE(succeeds({"paste", base, base, folder.path("out.png"), "20", "10"}));

    EXPECT_EQ(folder.read("base.png"), before);
    EXPECT_EQ(folder.names(), QStringList({"base.png", "out.png"}));
}

TEST(PasteFile, HrleGoesInAndOut)
{
    const Folder folder;
    const QImage mask = maskLike(301, 203);
    const QString in = folder.write("in.png", encoded(photoLike(33, 29), "png"));
    ASSERT_TRUE(HrleHandler().writeFile(folder.path("mask.hrle"), Vellum(mask)));

    ASSERT_TRUE(succeeds({"paste", "--storage", "big", folder.path("mask.hrle"), in,
                          folder.path("a.hrle"), "100", "-10"}));
    ASSERT_TRUE(succeeds({"convert", folder.path("a.hrle"), folder.path("out.png")}));

    const QImage upper = QImage(in).convertToFormat(QImage::Format_Grayscale8);
    EXPECT_TRUE(samePixels(QImage(folder.path("out.png")), pasted(mask, upper, 100, -10)));
}

TEST(PasteFile, EitherInputMissingIsAnError)
{
    const Folder folder;
    const QString in = folder.write("in.png", encoded(photoLike(61, 43), "png"));
    const QString none = folder.path("none.png");
    for (const QStringList &inputs : {QStringList {in, none}, QStringList {none, in}}) {
        const ToolResult result = runTool(QStringList {"paste"} + inputs +
                                          QStringList {folder.path("out.png"), "1", "1"});

        EXPECT_EQ(result.exitCode, 2);
        EXPECT_TRUE(isOneErrorLine(result.err, "none.png: "));
        EXPECT_EQ(folder.names(), QStringList({"in.png"}));
    }
}
