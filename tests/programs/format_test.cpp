// vellum convert --format.

#include "tool.h"
#include <vellum/vellum.h>

#include <QMetaEnum>

#include <gtest/gtest.h>

#include <string>
#include <support/images.h>
#include <tuple>

using namespace vellum::test;

namespace {

QString keyOf(QImage::Format format)
{
    return QString::fromLatin1(QMetaEnum::fromType<QImage::Format>().valueToKey(format)).mid(7);
}

/// Converts \a in and returns what the program says with -v.
QByteArray convert(const QStringList &options, const QString &in, const QString &out)
{
    const ToolResult result =
        runTool(QStringList {"convert", "-v"} + options + QStringList {in, out});
    EXPECT_EQ(result.exitCode, 0) << result.err.constData();
    return result.err;
}

/// What Qt reads from a PNG file that loses nothing of \a picture. Qt's own writer reduces 10 bits
/// per channel to 8 and takes the palette from grey pictures.
QImage asLosslessPng(const QImage &picture)
{
    switch (picture.format()) {
    case QImage::Format_RGB30:
    case QImage::Format_BGR30:
        return picture.convertToFormat(QImage::Format_RGBX64);
    case QImage::Format_A2RGB30_Premultiplied:
    case QImage::Format_A2BGR30_Premultiplied:
        return picture.convertToFormat(QImage::Format_RGBA64);
    case QImage::Format_Indexed8:
        return picture;
    default:
        return asPng(picture);
    }
}

} // namespace

class ToFormat : public testing::TestWithParam<QImage::Format>
{
};

TEST_P(ToFormat, GivesThePictureOfQImageOnBothStorages)
{
    const Folder folder;
    for (const auto from : {QImage::Format_ARGB32, QImage::Format_RGBA64, QImage::Format_Indexed8,
                            QImage::Format_Grayscale8}) {
        SCOPED_TRACE(from);
        const QString in = folder.write("in.png", encoded(photoLike(61, 43, from), "png"));
        const QStringList options {"--format", keyOf(GetParam()).toLower(), "--storage"};
        const QByteArray plain = convert(options + QStringList {"plain"}, in, folder.path("p.png"));
        const QByteArray big = convert(options + QStringList {"big"}, in, folder.path("b.png"));

        const QString shape = QStringLiteral("p.png: 61 x 43 %1, plain").arg(keyOf(GetParam()));
        EXPECT_TRUE(plain.contains(shape.toLatin1())) << plain.constData();
        EXPECT_TRUE(big.contains((keyOf(GetParam()) + ", big").toLatin1())) << big.constData();
        EXPECT_TRUE(samePixels(QImage(folder.path("p.png")),
                               asLosslessPng(QImage(in).convertToFormat(GetParam()))));
        EXPECT_EQ(folder.read("b.png"), folder.read("p.png"));
    }
}

INSTANTIATE_TEST_SUITE_P(Formats, ToFormat, testing::ValuesIn(allFormats()),
                         [](const auto &test) { return keyOf(test.param).toStdString(); });

struct Dither
{
    const char *option;
    Qt::ImageConversionFlags flags;
};

class DitherOption : public testing::TestWithParam<std::tuple<QImage::Format, int, bool>>
{
};

TEST_P(DitherOption, GivesThePictureOfQImageOnBothStorages)
{
    const Dither modes[] = {{"threshold", Qt::ThresholdDither},
                            {"ordered", Qt::OrderedDither},
                            {"diffuse", Qt::DiffuseDither}};
    const auto [format, index, prefer] = GetParam();
    const Dither &mode = modes[index];
    const Qt::ImageConversionFlags flags = prefer ? mode.flags | Qt::PreferDither : mode.flags;
    const Folder folder;
    const QString in = folder.write("in.png", encoded(photoLike(301, 47), "png"));
    QStringList options {"convert", "--format", keyOf(format).toLower(), "--dither", mode.option};
    if (prefer)
        options += QStringLiteral("--prefer-dither");

    for (const char *storage : {"plain", "big"}) {
        ASSERT_TRUE(
            succeeds(options + QStringList {"--storage", storage, in, folder.path("out.png")}));
        EXPECT_TRUE(samePixels(QImage(folder.path("out.png")),
                               asPng(QImage(in).convertToFormat(format, flags))))
            << storage;
    }
}

INSTANTIATE_TEST_SUITE_P(
    Modes, DitherOption,
    testing::Combine(testing::Values(QImage::Format_Mono, QImage::Format_MonoLSB,
                                     QImage::Format_Indexed8, QImage::Format_RGB16),
                     testing::Values(0, 1, 2), testing::Bool()));

// Otherwise the modes could all be the same one.
TEST(Dithering, ModesDiffer)
{
    const Folder folder;
    const QString in = folder.write("in.png", encoded(photoLike(301, 47), "png"));
    for (const char *mode : {"threshold", "ordered", "diffuse"}) {
        ASSERT_TRUE(succeeds(
            {"convert", "--format", "mono", "--dither", mode, in, folder.path(mode) + ".png"}));
    }
    EXPECT_NE(folder.read("threshold.png"), folder.read("ordered.png"));
    EXPECT_NE(folder.read("threshold.png"), folder.read("diffuse.png"));
    EXPECT_NE(folder.read("ordered.png"), folder.read("diffuse.png"));
}

TEST(Dithering, HrleOfAMonochromePictureIsBlackAndWhite)
{
    const Folder folder;
    const QString in = folder.write("in.png", encoded(photoLike(301, 47), "png"));

    ASSERT_TRUE(
        succeeds({"convert", "--format", "mono", "--storage", "big", in, folder.path("a.hrle")}));
    ASSERT_TRUE(succeeds({"convert", folder.path("a.hrle"), folder.path("out.png")}));

    EXPECT_TRUE(samePixels(QImage(folder.path("out.png")),
                           QImage(in)
                               .convertToFormat(QImage::Format_Mono)
                               .convertToFormat(QImage::Format_Grayscale8)));
}

TEST(FormatName, UnknownOneIsAnsweredWithAllNames)
{
    const ToolResult result = runTool({"convert", "--format", "grey", "a.png", "b.png"});

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(isOneErrorLine(result.err, "'grey'"));
    for (const QImage::Format format : allFormats())
        EXPECT_TRUE(result.err.contains(keyOf(format).toLower().toLatin1()));
}

TEST(FormatName, AllAreInTheHelp)
{
    const QByteArray help = runTool({"convert", "--help"}).out;
    for (const QImage::Format format : allFormats())
        EXPECT_TRUE(help.contains(' ' + keyOf(format).toLower().toLatin1()));
}
